#include "framework.h"

namespace host {

namespace {

constinit Text calls;
constinit Text sinkReports;
constinit int references = 0;
constinit bool managerDefined = false;
constinit IOBXUnknown* singleton = nullptr;

bool same(const OBXGuid& left, const OBXGuid& right) {
    for (int i = 0; i < 8; ++i) {
        if (left.data4[i] != right.data4[i]) {
            return false;
        }
    }
    return left.data1 == right.data1 && left.data2 == right.data2 && left.data3 == right.data3;
}

const char* nameOf(const OBXGuid& id) {
    struct Name {
        OBXGuid id;
        const char* name;
    };
    constexpr static Name kNames[] = {
        {KLB_IID_IOBXUnknown, "Unknown"},
        {KLB_IID_IOBXMessageSink, "MessageSink"},
        {KLB_IID_IOBXComponentRegistry, "ComponentRegistry"},
        {KLB_IID_IOBXComponentDefinition, "ComponentDefinition"},
        {KLB_IID_IOBXDefinitionRegistration, "DefinitionRegistration"},
        {KLB_IID_IOBXSingletonRegistry, "SingletonRegistry"},
        {KLB_ComponentDefinitionClassId, "ComponentDefinitionClass"},
        {KLB_ManagerClassId, "ManagerClass"},
        {KLB_ManagerRegistrationId, "ManagerRegistration"},
        {KLB_ManagerCategoryId, "ManagerCategory"},
    };
    for (const Name& each : kNames) {
        if (same(each.id, id)) {
            return each.name;
        }
    }
    return "?";
}

Text& logCall(const char* operation) {
    return calls.append(operation);
}

OBXResult give(IOBXUnknown* object, void** out) {
    object->AddRef();
    *out = object;
    return 0;
}

/// An object whose references are counted with those of all others.
template <class Interface>
struct Counted : Interface {
    uint32_t AddRef() override {
        return static_cast<uint32_t>(++references);
    }
    uint32_t Release() override {
        return static_cast<uint32_t>(--references);
    }
};

struct Sink final : Counted<IOBXMessageSink> {
    OBXResult QueryInterface(const OBXGuid&, void**) override {
        return kNoInterface;
    }
    OBXResult Report(uint32_t type, const char* text) override {
        sinkReports.append(type).append(" ").append(text).append("\n");
        return 0;
    }
};

struct Definition final : Counted<IOBXComponentDefinition> {
    OBXResult QueryInterface(const OBXGuid&, void**) override {
        return kNoInterface;
    }
    OBXResult Define(const OBXGuid& classId, const OBXGuid& categoryId, uint32_t first,
                     uint32_t second, const OBXGuid& registrationId, const wchar_t* name) override {
        logCall("Define ").append(nameOf(classId)).append(" ").append(nameOf(categoryId));
        calls.append(" ").append(first).append(" ").append(second).append(" ");
        calls.append(nameOf(registrationId)).append(" ");
        for (; *name != L'\0'; ++name) {
            const char unit[] = {*name < 0x80 ? static_cast<char>(*name) : '?', '\0'};
            calls.append(unit);
        }
        calls.append("\n");
        return 0;
    }
};

constinit Sink sink;
constinit Definition definition;

struct DefinitionRegistration final : Counted<IOBXDefinitionRegistration> {
    OBXResult QueryInterface(const OBXGuid&, void**) override {
        return kNoInterface;
    }
    OBXResult Register(IOBXComponentDefinition* registered) override {
        logCall("Register ").append(registered == &definition ? "the definition" : "?");
        calls.append("\n");
        return 0;
    }
};

constinit DefinitionRegistration definitionRegistration;

struct ComponentRegistry final : Counted<IOBXComponentRegistry> {
    OBXResult QueryInterface(const OBXGuid& iid, void** out) override {
        logCall("ComponentRegistry: QueryInterface ").append(nameOf(iid)).append("\n");
        return same(iid, KLB_IID_IOBXDefinitionRegistration) ? give(&definitionRegistration, out)
                                                             : kNoInterface;
    }
    OBXResult FindDefinition(const OBXGuid& classId, const OBXGuid& iid, void** out) override {
        logCall("FindDefinition ").append(nameOf(classId)).append(" ").append(nameOf(iid));
        calls.append("\n");
        return managerDefined ? give(&definition, out) : kNotRegistered;
    }
    OBXResult CreateInstance(const OBXGuid& classId, IOBXUnknown* outer, const OBXGuid& iid,
                             void** out) override {
        logCall("CreateInstance ").append(nameOf(classId));
        calls.append(outer == nullptr ? " alone " : " inside another ");
        calls.append(nameOf(iid)).append("\n");
        return give(&definition, out);
    }
};

struct SingletonRegistry final : Counted<IOBXSingletonRegistry> {
    OBXResult QueryInterface(const OBXGuid&, void**) override {
        return kNoInterface;
    }
    OBXResult RegisterSingleton(const OBXGuid& classId, const OBXGuid& registrationId,
                                IOBXUnknown* object) override {
        logCall("RegisterSingleton ").append(nameOf(classId));
        calls.append(" ").append(nameOf(registrationId)).append("\n");
        singleton = object;
        return 0;
    }
    OBXResult UnregisterSingleton(const OBXGuid& classId) override {
        logCall("UnregisterSingleton ").append(nameOf(classId)).append("\n");
        singleton = nullptr;
        return 0;
    }
};

constinit ComponentRegistry componentRegistry;
constinit SingletonRegistry singletonRegistry;

struct Framework final : Counted<IOBXUnknown> {
    OBXResult QueryInterface(const OBXGuid& iid, void** out) override {
        logCall("QueryInterface ").append(nameOf(iid)).append("\n");
        if (same(iid, KLB_IID_IOBXUnknown)) {
            return give(this, out);
        }
        if (same(iid, KLB_IID_IOBXMessageSink)) {
            return give(&sink, out);
        }
        if (same(iid, KLB_IID_IOBXComponentRegistry)) {
            return give(&componentRegistry, out);
        }
        return same(iid, KLB_IID_IOBXSingletonRegistry) ? give(&singletonRegistry, out)
                                                        : kNoInterface;
    }
};

constinit Framework theFramework;

Text taken(Text& text) {
    const Text before = text;
    text.clear();
    return before;
}

} // namespace

Text takeCalls() {
    return taken(calls);
}

Text takeSinkReports() {
    return taken(sinkReports);
}

int referencesHeld() {
    return references;
}

IOBXUnknown& framework() {
    return theFramework;
}

void setManagerDefined(bool defined) {
    managerDefined = defined;
}

IOBXUnknown* registeredSingleton() {
    return singleton;
}

} // namespace host
