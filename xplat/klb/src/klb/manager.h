#ifndef KLB_KLB_MANAGER_H
#define KLB_KLB_MANAGER_H

#include "IKLBManager.h"

#include "klb/publication.h"
#include "registry/registry.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace klb {

/// The one object that lives from KLB_Init to KLB_Term. It owns all state, and is the component
/// that the host's framework and its plug-ins call. Not synchronised: the library lock guards it.
/// Only the operations of the component face take that lock themselves.
///
/// Reference counts do not own it: KLB_Init and KLB_Term do. Members are destroyed from the last to
/// the first, which is the order that teardown needs: the registry before the host's interfaces,
/// and those before the report document.
class KLBMgr final : public IKLBManager, public IOBXSingleton {
public:
    /// \param platform Must outlive the manager.
    KLBMgr(const char* systemId, bool enableOverride, const Platform& platform);

    /// Asks for this computer's identifier and, if there is one, makes it the system identifier.
    void adoptDeviceIdentity();

    Registry& registry() noexcept {
        return registry_;
    }
    /// What the default toggle report is built in.
    JsonDocument& reportDocument() noexcept {
        return reportDocument_;
    }

    void publish(IOBXUnknown& host);
    void withdraw();
    bool isPublished() const noexcept;

    // The component face.
    OBXResult QueryInterface(const OBXGuid& iid, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    OBXResult RegisterToggleFile(std::uint32_t toggleFileType, const char* toggleFileToken,
                                 const char* toggleFile) override;
    OBXResult RegisterToggle(const char* toggleKey, std::int32_t defaultValue,
                             const char* toggleFileToken) override;
    OBXResult GetToggle(const char* toggleKey, std::uint32_t* value) override;
    OBXResult IsToggleRegistered(const char* toggleKey) override;
    OBXResult IsToggleFileRegistered(const char* toggleFileToken) override;
    std::uint32_t GetOverrideInfoString(char* buffer, std::uint32_t bufferSize) override;
    OBXResult RegisterDynamicToggle(const char* toggleKey, std::int32_t defaultValue,
                                    const char* toggleFileToken) override;
    OBXResult GetDynamicToggle(const char* toggleKey, std::uint32_t* value) override;
    OBXResult SetDynamicToggle(const char* toggleKey, std::int32_t value) override;
    OBXResult IsDynamicToggleRegistered(const char* toggleKey) override;
    std::uint32_t GetSingletonState() override;
    OBXResult InitializeSingleton() override;
    OBXResult FinalizeSingleton() override;

private:
    OBXResult registerToggleOfKind(const char* key, std::int32_t defaultValue, const char* token,
                                   bool isDynamic);
    OBXResult getToggleOfKind(const char* key, std::uint32_t* value, bool dynamic);
    OBXResult isToggleOfKindRegistered(const char* key, bool dynamic);

    JsonDocument reportDocument_;
    Publication publication_;
    /// Belongs to the host's protocol; the library never reads it.
    std::atomic<std::uint32_t> singletonState_ = 0;
    Registry registry_;
};

/// A manager ready for use: with libcrypto initialised and, for an empty system identifier, this
/// computer's own in its place.
std::unique_ptr<KLBMgr> createManager(const char* systemId, bool enableOverride,
                                      const Platform& platform);

} // namespace klb

#endif
