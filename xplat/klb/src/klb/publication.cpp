#include "klb/publication.h"

#include "IKLBManager.h"

#include <cstdint>

namespace klb {

namespace {

constexpr const wchar_t* kManagerName = L"KLBManager";
constexpr std::uint32_t kMessageTypeError = 1;

void check(OBXResult result) {
    if (isFailure(result)) {
        throw static_cast<long>(result);
    }
}

/// Takes ownership of what a call to the host returns through its output.
template <class Interface, class Call>
HostPtr<Interface> obtain(Call&& call) {
    void* out = nullptr;
    check(call(&out));
    return HostPtr<Interface>(static_cast<Interface*>(out));
}

template <class Interface>
HostPtr<Interface> query(IOBXUnknown& object, const OBXGuid& iid) {
    return obtain<Interface>([&](void** out) { return object.QueryInterface(iid, out); });
}

/// For an interface that is about to be used.
template <class Interface>
HostPtr<Interface> required(HostPtr<Interface> reference) {
    if (!reference) {
        check(kNullInterface);
    }
    return reference;
}

HostPtr<IOBXComponentDefinition> define(IOBXComponentRegistry& registry) {
    auto definition = required(obtain<IOBXComponentDefinition>([&](void** out) {
        return registry.CreateInstance(KLB_ComponentDefinitionClassId, nullptr,
                                       KLB_IID_IOBXComponentDefinition, out);
    }));
    check(definition->Define(KLB_ManagerClassId, KLB_ManagerCategoryId, 1, 0,
                             KLB_ManagerRegistrationId, kManagerName));
    const auto registration =
        required(query<IOBXDefinitionRegistration>(registry, KLB_IID_IOBXDefinitionRegistration));
    check(registration->Register(definition.get()));
    return definition;
}

/// The definition of the manager's class, created if the host has none; may be null if it has one.
HostPtr<IOBXComponentDefinition> findOrDefine(IOBXComponentRegistry& registry) {
    void* out = nullptr;
    const OBXResult result =
        registry.FindDefinition(KLB_ManagerClassId, KLB_IID_IOBXComponentDefinition, &out);
    if (result == kNotRegistered) {
        return define(registry);
    }
    check(result);
    return HostPtr<IOBXComponentDefinition>(static_cast<IOBXComponentDefinition*>(out));
}

HostPtr<IOBXSingletonRegistry> singletonRegistryOf(IOBXUnknown& host) {
    return required(query<IOBXSingletonRegistry>(host, KLB_IID_IOBXSingletonRegistry));
}

} // namespace

void Publication::publish(IOBXUnknown& host, IOBXUnknown& manager) {
    if (identity_) {
        return;
    }
    identity_ = query<IOBXUnknown>(host, KLB_IID_IOBXUnknown);
    messageSink_.reset();
    messageSink_ = query<IOBXMessageSink>(host, KLB_IID_IOBXMessageSink);
    const auto registry =
        required(query<IOBXComponentRegistry>(host, KLB_IID_IOBXComponentRegistry));
    const auto definition = findOrDefine(*registry.get());
    const auto singletons = singletonRegistryOf(host);
    check(singletons->RegisterSingleton(KLB_ManagerClassId, KLB_ManagerRegistrationId, &manager));
}

void Publication::withdraw() {
    if (identity_) {
        const auto singletons = singletonRegistryOf(*identity_.get());
        check(singletons->UnregisterSingleton(KLB_ManagerClassId));
    }
}

void Publication::report(const char* text) noexcept {
    if (!messageSink_) {
        return;
    }
    for (const char* part : {text, "\n"}) {
        try {
            messageSink_->Report(kMessageTypeError, part);
        } catch (...) {
            // The error that is being reported reaches the caller anyway.
        }
    }
}

} // namespace klb
