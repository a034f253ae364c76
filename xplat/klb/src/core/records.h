#ifndef KLB_CORE_RECORDS_H
#define KLB_CORE_RECORDS_H

#include "klb.h"

#include "core/toggle_document.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct x509_st;

namespace klb {

struct ToggleRecord;

/// One token and what is known of its toggle file.
struct ToggleFileRecord {
    /// The type it was created with; a later registration does not change it.
    KLB_ToggleFileType type = KLB_ToggleFileType_Invalid;
    std::string token;
    /// The file's name as the host passed it.
    std::string file;
    /// The resolved path; empty while no file is attached to the token.
    std::string path;
    /// The file's bytes while they are being loaded.
    std::vector<char> content;
    /// The name of the first load error; empty when there was none.
    std::string error;
    /// Where a parse error stands, in bytes; 0 for every other error.
    std::uint64_t errorOffset = 0;
    /// Set when the file could not be opened.
    bool fileMissing = false;
    std::unique_ptr<ToggleDocument> document;
    /// The toggles set by this file to another value than their default, by key.
    std::map<std::string_view, ToggleRecord*> differingToggles;
    /// The certificate that signers are checked against; the manager owns it.
    x509_st* certificate = nullptr;
    bool skipSignatureCheck = false;
    /// The toggles registered against this token, in order of registration.
    std::vector<ToggleRecord*> toggles;
};

/// A text that the host added to a toggle.
struct ToggleProperty {
    /// One of the library's constants.
    std::string_view name;
    std::string value;
};

/// One toggle.
struct ToggleRecord {
    /// The registry has the text.
    std::string_view key;
    bool defaultValue = false;
    bool currentValue = false;
    /// The override file set the current value.
    bool overridden = false;
    /// Some source gave another value than the default. Never cleared.
    bool differs = false;
    bool isDynamic = false;
    /// The record of the token that the toggle was registered with.
    ToggleFileRecord* file = nullptr;
    /// Each name at most once.
    std::vector<ToggleProperty> addedProperties;

    bool value() const noexcept {
        return differs ? currentValue : defaultValue;
    }
    void setValue(bool value, bool byOverrideFile) noexcept {
        currentValue = value;
        overridden = byOverrideFile;
        if (value != defaultValue) {
            differs = true;
        }
    }
};

inline std::string_view nameOf(const ToggleRecord& toggle) noexcept {
    return toggle.key;
}

} // namespace klb

#endif
