#include "manager_model.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace klb::test {

namespace {

constexpr uint32_t kNullArgument = 0x80000003;
constexpr uint32_t kNullFromHost = 0x80000005;
constexpr uint32_t kNotRegistered = 0x8000000D;
constexpr uint32_t kUnexpected = 0x8000FFFF;

OBXResult resultOf(uint32_t code) {
    return static_cast<OBXResult>(code);
}

void throwFailure(OBXResult result) {
    if (result < 0) {
        throw static_cast<long>(result);
    }
}

/// Another interface of an object, which the object may answer with null.
template <class Interface>
Reference<Interface> query(IOBXUnknown& object, const OBXGuid& iid) {
    void* out = nullptr;
    throwFailure(object.QueryInterface(iid, &out));
    return Reference<Interface>(static_cast<Interface*>(out));
}

/// The object of a reference that is about to be used.
template <class Interface>
Interface& used(const Reference<Interface>& reference) {
    if (reference == nullptr) {
        throwFailure(resultOf(kNullFromHost));
    }
    return *reference;
}

bool isSame(const OBXGuid& left, const OBXGuid& right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

} // namespace

unsigned long long deliver(const std::string& text, char* buffer, unsigned long long size) {
    const unsigned long long needed = text.empty() ? 0 : text.size() + 1;
    if (buffer == nullptr) {
        return needed;
    }
    if (size == 0 || text.empty()) {
        return 0;
    }
    const unsigned long long written = std::min(size, needed);
    for (unsigned long long i = 0; i + 1 < written; ++i) {
        buffer[i] = text[i];
    }
    buffer[written - 1] = '\0';
    return written;
}

ManagerModel::ManagerModel(RegistryModel& registry) : registry_(registry) {}

bool ManagerModel::isPublished() const {
    return identity_ != nullptr;
}

void ManagerModel::publish(IOBXUnknown* host) {
    if (!isPublished()) {
        identity_ = query<IOBXUnknown>(*host, KLB_IID_IOBXUnknown);
        sink_ = query<IOBXMessageSink>(*host, KLB_IID_IOBXMessageSink);
        registerWith(host);
    }
}

void ManagerModel::registerWith(IOBXUnknown* host) {
    const auto components = query<IOBXComponentRegistry>(*host, KLB_IID_IOBXComponentRegistry);
    void* found = nullptr;
    const OBXResult result =
        used(components)
            .FindDefinition(KLB_ManagerClassId, KLB_IID_IOBXComponentDefinition, &found);
    Reference<IOBXComponentDefinition> definition;
    if (result == resultOf(kNotRegistered)) {
        void* created = nullptr;
        throwFailure(components->CreateInstance(KLB_ComponentDefinitionClassId, nullptr,
                                                KLB_IID_IOBXComponentDefinition, &created));
        definition.reset(static_cast<IOBXComponentDefinition*>(created));
        throwFailure(used(definition)
                         .Define(KLB_ManagerClassId, KLB_ManagerCategoryId, 1, 0,
                                 KLB_ManagerRegistrationId, L"KLBManager"));
        const auto registration =
            query<IOBXDefinitionRegistration>(*components, KLB_IID_IOBXDefinitionRegistration);
        throwFailure(used(registration).Register(definition.get()));
    } else {
        throwFailure(result);
        definition.reset(static_cast<IOBXComponentDefinition*>(found));
    }
    const auto singletons = query<IOBXSingletonRegistry>(*host, KLB_IID_IOBXSingletonRegistry);
    throwFailure(used(singletons)
                     .RegisterSingleton(KLB_ManagerClassId, KLB_ManagerRegistrationId,
                                        static_cast<IKLBManager*>(this)));
}

void ManagerModel::withdraw() {
    if (isPublished()) {
        const auto singletons =
            query<IOBXSingletonRegistry>(*identity_, KLB_IID_IOBXSingletonRegistry);
        throwFailure(used(singletons).UnregisterSingleton(KLB_ManagerClassId));
    }
}

template <class Operation>
OBXResult ManagerModel::orWhenThrown(uint32_t otherwise, Operation operation) {
    try {
        return resultOf(operation());
    } catch (const DependsOnChance&) {
        throw;
    } catch (const std::exception& thrown) {
        if (sink_ != nullptr) {
            sink_->Report(1, thrown.what());
            sink_->Report(1, "\n");
        }
        return resultOf(otherwise);
    } catch (...) {
        return resultOf(otherwise);
    }
}

OBXResult ManagerModel::QueryInterface(const OBXGuid& iid, void** out) {
    if (out == nullptr) {
        return resultOf(kNullArgument);
    }
    if (isSame(iid, KLB_IID_IKLBManager) || isSame(iid, KLB_IID_IKLBManager1) ||
        isSame(iid, KLB_IID_IOBXUnknown)) {
        *out = static_cast<IKLBManager*>(this);
    } else if (isSame(iid, KLB_IID_IOBXSingleton)) {
        *out = static_cast<IOBXSingleton*>(this);
    }
    return 0;
}

uint32_t ManagerModel::AddRef() {
    return 1;
}

uint32_t ManagerModel::Release() {
    return 1;
}

OBXResult ManagerModel::RegisterToggleFile(uint32_t toggleFileType, const char* toggleFileToken,
                                           const char* toggleFile) {
    if (toggleFileToken == nullptr || toggleFile == nullptr) {
        return resultOf(kNullArgument);
    }
    return orWhenThrown(kUnexpected, [&] {
        const auto type = static_cast<KLB_ToggleFileType>(static_cast<int32_t>(toggleFileType));
        registry_.registerToggleFile(type, toggleFileToken, toggleFile);
        return 0U;
    });
}

OBXResult ManagerModel::RegisterToggle(const char* toggleKey, int32_t defaultValue,
                                       const char* toggleFileToken) {
    if (toggleKey == nullptr || toggleFileToken == nullptr) {
        return resultOf(kNullArgument);
    }
    return orWhenThrown(kUnexpected, [&] {
        registry_.registerToggle(toggleKey, defaultValue != 0, toggleFileToken, false);
        return 0U;
    });
}

OBXResult ManagerModel::RegisterDynamicToggle(const char* toggleKey, int32_t defaultValue,
                                              const char* toggleFileToken) {
    if (toggleKey == nullptr || toggleFileToken == nullptr) {
        return resultOf(kNullArgument);
    }
    return orWhenThrown(kUnexpected, [&] {
        registry_.registerToggle(toggleKey, defaultValue != 0, toggleFileToken, true);
        return 0U;
    });
}

OBXResult ManagerModel::GetToggle(const char* toggleKey, uint32_t* value) {
    if (toggleKey == nullptr || value == nullptr) {
        return resultOf(kNullArgument);
    }
    return orWhenThrown(kUnexpected, [&] {
        *value = 0;
        *value = registry_.getToggle(toggleKey, false) ? 1 : 0;
        return 0U;
    });
}

OBXResult ManagerModel::GetDynamicToggle(const char* toggleKey, uint32_t* value) {
    if (toggleKey == nullptr || value == nullptr) {
        return resultOf(kNullArgument);
    }
    return orWhenThrown(kUnexpected, [&] {
        *value = 0;
        *value = registry_.getToggle(toggleKey, true) ? 1 : 0;
        return 0U;
    });
}

OBXResult ManagerModel::SetDynamicToggle(const char* toggleKey, int32_t value) {
    if (toggleKey == nullptr) {
        return resultOf(kNullArgument);
    }
    return orWhenThrown(kUnexpected, [&] {
        registry_.setDynamicToggle(toggleKey, value != 0);
        return 0U;
    });
}

OBXResult ManagerModel::IsToggleRegistered(const char* toggleKey) {
    if (toggleKey == nullptr) {
        return resultOf(kNullArgument);
    }
    return registry_.isToggleRegistered(toggleKey, false) ? 1 : 0;
}

OBXResult ManagerModel::IsDynamicToggleRegistered(const char* toggleKey) {
    if (toggleKey == nullptr) {
        return resultOf(kNullArgument);
    }
    return registry_.isToggleRegistered(toggleKey, true) ? 1 : 0;
}

OBXResult ManagerModel::IsToggleFileRegistered(const char* toggleFileToken) {
    return orWhenThrown(
        0, [&] { return registry_.isToggleFileRegistered(toggleFileToken) ? 1U : 0U; });
}

uint32_t ManagerModel::GetOverrideInfoString(char* buffer, uint32_t bufferSize) {
    return static_cast<uint32_t>(deliver(registry_.overrideInfoString(), buffer, bufferSize));
}

uint32_t ManagerModel::GetSingletonState() {
    return singletonState_;
}

OBXResult ManagerModel::InitializeSingleton() {
    singletonState_ = 2;
    return 0;
}

OBXResult ManagerModel::FinalizeSingleton() {
    singletonState_ = 4;
    return 0;
}

} // namespace klb::test
