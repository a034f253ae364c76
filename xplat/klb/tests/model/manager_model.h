#ifndef KLB_TESTS_MODEL_MANAGER_MODEL_H
#define KLB_TESTS_MODEL_MANAGER_MODEL_H

#include "IKLBManager.h"
#include "registry_model.h"

#include <cstdint>
#include <memory>
#include <string>

namespace klb::test {

/// Gives a reference back.
struct ReferenceRelease {
    void operator()(IOBXUnknown* object) const {
        object->Release();
    }
};

/// A reference to an object of the host's framework.
template <class Interface>
using Reference = std::unique_ptr<Interface, ReferenceRelease>;

/// The manager as components see it, and its link to the host's framework.
class ManagerModel final : public IKLBManager, public IOBXSingleton {
public:
    /// The registry must outlive the manager.
    explicit ManagerModel(RegistryModel& registry);
    ManagerModel(const ManagerModel&) = delete;
    ManagerModel& operator=(const ManagerModel&) = delete;

    void publish(IOBXUnknown* host);
    bool isPublished() const;
    void withdraw();

    OBXResult QueryInterface(const OBXGuid& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;

    OBXResult RegisterToggleFile(uint32_t toggleFileType, const char* toggleFileToken,
                                 const char* toggleFile) override;
    OBXResult RegisterToggle(const char* toggleKey, int32_t defaultValue,
                             const char* toggleFileToken) override;
    OBXResult GetToggle(const char* toggleKey, uint32_t* value) override;
    OBXResult IsToggleRegistered(const char* toggleKey) override;
    OBXResult IsToggleFileRegistered(const char* toggleFileToken) override;
    uint32_t GetOverrideInfoString(char* buffer, uint32_t bufferSize) override;
    OBXResult RegisterDynamicToggle(const char* toggleKey, int32_t defaultValue,
                                    const char* toggleFileToken) override;
    OBXResult GetDynamicToggle(const char* toggleKey, uint32_t* value) override;
    OBXResult SetDynamicToggle(const char* toggleKey, int32_t value) override;
    OBXResult IsDynamicToggleRegistered(const char* toggleKey) override;

    uint32_t GetSingletonState() override;
    OBXResult InitializeSingleton() override;
    OBXResult FinalizeSingleton() override;

private:
    void registerWith(IOBXUnknown* host);

    /// Makes the call; when it throws, tells the message sink and gives this result instead.
    template <class Operation>
    OBXResult orWhenThrown(uint32_t otherwise, Operation operation);

    RegistryModel& registry_;
    Reference<IOBXUnknown> identity_;
    Reference<IOBXMessageSink> sink_;
    uint32_t singletonState_ = 0;
};

/// Hands a report out and gives the count that goes with it.
unsigned long long deliver(const std::string& text, char* buffer, unsigned long long size);

} // namespace klb::test

#endif
