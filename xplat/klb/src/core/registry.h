#ifndef KLB_CORE_REGISTRY_H
#define KLB_CORE_REGISTRY_H

#include "core/crypto_handles.h"
#include "core/name_index.h"
#include "core/records.h"
#include "platform/platform.h"

#include <map>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace klb {

/// Everything that the host set up and registered. Nothing in it is removed while it lives, so
/// records may refer to each other and maps to the texts of their records. Not synchronised: the
/// library lock guards it.
struct Registry {
    std::string systemId;
    /// This computer's identifier, when the system identifier was taken from it.
    std::string deviceId;
    /// The override file that the host chose; empty for the default place.
    std::string overridePath;

    // The maps keep the byte order of their keys.
    std::map<std::string_view, std::unique_ptr<ToggleFileRecord>> filesByToken;
    std::map<std::string_view, ToggleFileRecord*> filesByPath;
    std::vector<ToggleFileRecord*> filesInOrder;
    /// Holds the toggles and their properties: taken in large blocks, given back at once. Not from
    /// the process's default resource, which is the host's.
    std::pmr::monotonic_buffer_resource toggleMemory{std::pmr::new_delete_resource()};
    ToggleOrder toggles;
    /// The same toggles by key, for queries.
    NameIndex<ToggleRecord, NameHash> toggleIndex;

    bool enableOverride = false;
    /// The override file's record, once it has been registered.
    ToggleFileRecord* overrideFile = nullptr;

    // The certificate goes before the stream that it was read from.
    CryptoStreamPtr certificateStream;
    CertificatePtr certificate;
    bool noCertificate = false;

    const Platform* platform = nullptr;

    /// Some calls are refused from the first registration on.
    bool anythingRegistered() const noexcept {
        return !filesByToken.empty() || !toggles.empty();
    }
};

} // namespace klb

#endif
