#ifndef KLB_CORE_RECORDS_H
#define KLB_CORE_RECORDS_H

#include "klb.h"

#include "core/toggle_document.h"
#include "core/toggle_order.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

struct x509_st;

namespace klb {

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
    /// The toggles set by this file to another value than their default.
    ToggleOrder differingToggles;
    /// The certificate that signers are checked against; the manager owns it.
    x509_st* certificate = nullptr;
    bool skipSignatureCheck = false;
};

/// A text that the host added to a toggle.
struct ToggleProperty {
    /// One of the library's constants.
    std::string_view name;
    std::string_view value;
    ToggleProperty* next = nullptr;
};

/// What is on and why.
struct ToggleState {
    bool defaultValue = false;
    bool currentValue = false;
    /// The override file set the current value.
    bool overridden = false;
    /// Some source gave another value than the default. Never cleared.
    bool differs = false;
    bool isDynamic = false;

    bool value() const noexcept {
        return differs ? currentValue : defaultValue;
    }
    void setValue(bool value, bool byOverrideFile) noexcept {
        if (currentValue == value && overridden == byOverrideFile) {
            // Writing it once more would cost a host that repeats itself more than looking.
            return;
        }
        currentValue = value;
        overridden = byOverrideFile;
        if (value != defaultValue) {
            differs = true;
        }
    }
};

/// One toggle. Made by createToggle() only: the text of its key follows it in memory, so that a
/// query finds both in one place.
struct ToggleRecord : ToggleState {
    ToggleRecord() = default;
    ToggleRecord(const ToggleRecord&) = delete;
    ToggleRecord& operator=(const ToggleRecord&) = delete;

    std::size_t keySize = 0;
    /// The record of the token that the toggle was registered with.
    ToggleFileRecord* file = nullptr;
    /// The first of them, in the order in which they were added; each name at most once.
    ToggleProperty* addedProperties = nullptr;

    std::string_view key() const noexcept {
        return {reinterpret_cast<const char*>(this + 1), keySize};
    }
};

inline std::string_view nameOf(const ToggleRecord& toggle) noexcept {
    return toggle.key();
}

/// A toggle with this key, in the given memory. It needs no destruction.
ToggleRecord& createToggle(std::string_view key, std::pmr::memory_resource& memory);

/// A text in the given memory.
std::string_view copyText(std::string_view text, std::pmr::memory_resource& memory);

} // namespace klb

#endif
