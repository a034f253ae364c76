#ifndef KLB_KLB_MANAGER_H
#define KLB_KLB_MANAGER_H

#include "obx.h"

#include "core/json.h"
#include "core/registry.h"
#include "klb/host_reference.h"
#include "registry/toggles.h"

#include <cstdint>
#include <memory>

namespace klb {

/// The one object that lives from KLB_Init to KLB_Term: it owns all state and hands each operation
/// to the subsystem that does it. Not synchronised: the library lock guards it.
///
/// Members are destroyed from the last to the first, which is the order that teardown needs: the
/// registry before the host's interfaces, and those before the report document.
class KLBMgr {
public:
    /// \param platform Must outlive the manager.
    KLBMgr(const char* systemId, bool enableOverride, const Platform& platform);

    /// Asks for this computer's identifier and, if there is one, makes it the system identifier.
    void adoptDeviceIdentity();

    void setOverridePath(const char* overridePath);
    void setCertificateData(const char* certificateData);
    bool isPublished() const noexcept;
    std::uint32_t singletonState() const noexcept;
    void registerToggleFile(KLB_ToggleFileType type, const char* token, const char* file);
    bool isFeatureToggleFileRegistered(const char* token) const;
    void registerToggle(const char* key, bool defaultValue, const char* token, bool isDynamic);
    ToggleLookup lookupToggle(const char* key) const;
    bool getToggle(const char* key, bool dynamic) const;
    void setDynamicToggle(const char* key, bool value);
    void addToggleComment(const char* key, const char* comment);
    std::uint64_t getOverrideInfoString(char* buffer, std::uint64_t bufferSize) const;
    std::uint64_t buildDefaultToggleJson(const char* moduleName, const char* moduleVersion,
                                         char* buffer, std::uint64_t bufferSize);

    const Registry& registry() const noexcept {
        return registry_;
    }

private:
    JsonDocument reportDocument_;
    HostReference<IOBXUnknown> hostIdentity_;
    HostReference<IOBXMessageSink> hostMessageSink_;
    std::uint32_t singletonState_ = 0;
    Registry registry_;
};

/// A manager ready for use: with the crypto library initialised and, for an empty system
/// identifier, this computer's own in its place.
std::unique_ptr<KLBMgr> createManager(const char* systemId, bool enableOverride,
                                      const Platform& platform);

} // namespace klb

#endif
