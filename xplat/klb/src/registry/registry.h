#ifndef KLB_REGISTRY_REGISTRY_H
#define KLB_REGISTRY_REGISTRY_H

#include "klb.h"

#include "core/name_index.h"
#include "documents/document_loader.h"
#include "platform/platform.h"
#include "trust/certificate.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <memory_resource>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace klb {

struct ToggleFileRecord;

/// A toggle's value and where it came from.
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
            // For a host that repeats itself, a store would cost more than this check.
            return;
        }
        currentValue = value;
        overridden = byOverrideFile;
        if (value != defaultValue) {
            differs = true;
        }
    }
};

/// One toggle. createToggle() puts the text of the key right behind it in memory, so that a query
/// finds both in one place.
struct ToggleRecord : ToggleState {
    std::string_view key;
    /// The record of the token that the toggle was registered with.
    ToggleFileRecord* file = nullptr;
    /// The host's comment, which the registry's memory holds; null when there is none.
    const char* comment = nullptr;
};

inline std::string_view nameOf(const ToggleRecord& toggle) noexcept {
    return toggle.key;
}

/// Creates a toggle with this key in the given memory. It needs no destruction.
ToggleRecord& createToggle(std::string_view key, std::pmr::memory_resource& memory);

/// Allocates what the next push_back() needs, so that it cannot fail.
template <class Element>
void makeRoom(std::vector<Element>& list) {
    constexpr std::size_t kFirstCapacity = 16;
    if (list.size() == list.capacity()) {
        list.reserve(std::max(kFirstCapacity, 2 * list.capacity()));
    }
}

/// Toggles for a report, which lists them in the byte order of their keys. Hosts register thousands
/// while their user waits, and seldom ask for a report: so they are sorted when one is asked for,
/// and only if they were not added in order. Not synchronised, even where it is const: the library
/// lock guards it.
class ToggleOrder {
public:
    /// Allocates what the next add() needs.
    void makeRoom() {
        klb::makeRoom(toggles_);
    }
    /// Adds a toggle whose key is not there yet; after makeRoom().
    void add(ToggleRecord& toggle) noexcept;

    const std::vector<ToggleRecord*>& inKeyOrder() const;

    bool empty() const noexcept {
        return toggles_.empty();
    }
    std::size_t size() const noexcept {
        return toggles_.size();
    }

private:
    mutable std::vector<ToggleRecord*> toggles_;
    mutable bool ordered_ = true;
};

/// One token, and its toggle file once there is one.
struct ToggleFileRecord : LoadResult {
    /// The type it was created with; a later registration does not change it.
    KLB_ToggleFileType type = KLB_ToggleFileType_Invalid;
    std::string token;
    /// The file's name as the host passed it.
    std::string file;
    /// The resolved path; empty while the token has no file.
    std::string path;
    /// The toggles that this file set to another value than their default.
    ToggleOrder differingToggles;
};

/// Everything that the host configured and registered. Nothing is removed while it lives, so
/// records may refer to each other, and maps to the texts of their records. Not synchronised: the
/// library lock guards it.
struct Registry {
    std::string systemId;
    /// This computer's identifier, when the system identifier was taken from it.
    std::string deviceId;
    /// The override file that the host chose; empty for the default one.
    std::string overridePath;
    SignerCheck signers;

    std::map<std::string_view, std::unique_ptr<ToggleFileRecord>> filesByToken;
    std::vector<ToggleFileRecord*> filesInOrder;
    /// The paths of all files that belong to a token.
    std::set<std::string, std::less<>> filePaths;
    /// Holds the toggles and their comments: allocated in large blocks, freed at once. Not from the
    /// process's default resource, which is the host's.
    std::pmr::monotonic_buffer_resource toggleMemory{std::pmr::new_delete_resource()};
    ToggleOrder toggles;
    /// The same toggles by key, for queries.
    NameIndex<ToggleRecord, NameHash> toggleIndex;

    bool enableOverride = false;
    /// The override file's record, once it has been registered.
    ToggleFileRecord* overrideFile = nullptr;

    const Platform* platform = nullptr;

    /// Some calls are refused from the first registration on.
    bool anythingRegistered() const noexcept {
        return !filesByToken.empty() || !toggles.empty();
    }
};

} // namespace klb

#endif
