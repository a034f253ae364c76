#include "framework.h"

#include "reference.h"

#include <IKLBManager.h>

#include <iostream>

namespace {

constexpr OBXResult kSuccess = 0;
constexpr OBXResult kNoSuchInterface = static_cast<OBXResult>(0x80000002U);
constexpr OBXResult kNullArgument = static_cast<OBXResult>(0x80000003U);
constexpr OBXResult kRefused = static_cast<OBXResult>(0x80000007U);
constexpr OBXResult kNotRegistered = static_cast<OBXResult>(0x8000000DU);

std::atomic<int> g_livingObjects{0};

bool isSame(const OBXGuid& left, const OBXGuid& right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

} // namespace

/// The definition of a class, as CreateInstance() makes it and Register() keeps it.
class Framework::Definition final : public IOBXComponentDefinition {
public:
    Definition() {
        ++g_livingObjects;
    }

    OBXResult QueryInterface(const OBXGuid& iid, void** out) override {
        if (!out) {
            return kNullArgument;
        }
        if (!isSame(iid, KLB_IID_IOBXUnknown) && !isSame(iid, KLB_IID_IOBXComponentDefinition)) {
            return kNoSuchInterface;
        }
        AddRef();
        *out = this;
        return kSuccess;
    }
    uint32_t AddRef() override {
        return ++count_;
    }
    uint32_t Release() override {
        const uint32_t left = --count_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    OBXResult Define(const OBXGuid& classId, const OBXGuid& /*categoryId*/, uint32_t /*first*/,
                     uint32_t /*second*/, const OBXGuid& /*registrationId*/,
                     const wchar_t* name) override {
        if (!name) {
            return kNullArgument;
        }
        classId_ = classId;
        name_ = name;
        return kSuccess;
    }

    const OBXGuid& classId() const {
        return classId_;
    }
    const std::wstring& name() const {
        return name_;
    }

private:
    ~Definition() {
        --g_livingObjects;
    }

    std::atomic<uint32_t> count_{1};
    OBXGuid classId_{};
    std::wstring name_;
};

Framework* Framework::create() {
    return new Framework;
}

int Framework::livingObjects() {
    return g_livingObjects;
}

Framework::Framework() {
    ++g_livingObjects;
}

Framework::~Framework() {
    for (const auto& [classId, object] : singletons_) {
        object->Release();
    }
    for (const auto& [classId, definition] : definitions_) {
        definition->Release();
    }
    --g_livingObjects;
}

IOBXUnknown* Framework::base() {
    return static_cast<IOBXMessageSink*>(this);
}

int Framework::errors() const {
    return errors_;
}

OBXResult Framework::QueryInterface(const OBXGuid& iid, void** out) {
    if (!out) {
        return kNullArgument;
    }
    if (isSame(iid, KLB_IID_IOBXUnknown)) {
        *out = base();
    } else if (isSame(iid, KLB_IID_IOBXMessageSink)) {
        *out = static_cast<IOBXMessageSink*>(this);
    } else if (isSame(iid, KLB_IID_IOBXComponentRegistry)) {
        *out = static_cast<IOBXComponentRegistry*>(this);
    } else if (isSame(iid, KLB_IID_IOBXDefinitionRegistration)) {
        *out = static_cast<IOBXDefinitionRegistration*>(this);
    } else if (isSame(iid, KLB_IID_IOBXSingletonRegistry)) {
        *out = static_cast<IOBXSingletonRegistry*>(this);
    } else if (isSame(iid, kMeridianDirectoryId)) {
        *out = static_cast<IMeridianDirectory*>(this);
    } else {
        return kNoSuchInterface;
    }
    AddRef();
    return kSuccess;
}

uint32_t Framework::AddRef() {
    return ++count_;
}

uint32_t Framework::Release() {
    const uint32_t left = --count_;
    if (left == 0) {
        delete this;
    }
    return left;
}

OBXResult Framework::Report(uint32_t type, const char* text) {
    // An error of the toggle library comes as its text and then a line feed.
    if (std::strcmp(text, "\n") == 0) {
        return kSuccess;
    }
    const bool isError = type == kMessageIsError;
    errors_ += isError ? 1 : 0;
    std::cout << (isError ? "  error: " : "  ") << text << '\n';
    return kSuccess;
}

OBXResult Framework::FindDefinition(const OBXGuid& classId, const OBXGuid& iid, void** out) {
    const auto found = definitions_.find(classId);
    return found == definitions_.end() ? kNotRegistered : found->second->QueryInterface(iid, out);
}

OBXResult Framework::CreateInstance(const OBXGuid& classId, IOBXUnknown* outer, const OBXGuid& iid,
                                    void** out) {
    if (!isSame(classId, KLB_ComponentDefinitionClassId)) {
        return kNotRegistered;
    }
    if (outer) {
        return kRefused;
    }
    Definition* const definition = new Definition;
    const OBXResult result = definition->QueryInterface(iid, out);
    definition->Release();
    return result;
}

OBXResult Framework::Register(IOBXComponentDefinition* definition) {
    if (!definition) {
        return kNullArgument;
    }
    // Only CreateInstance() makes definitions.
    auto* const own = static_cast<Definition*>(definition);
    if (!definitions_.emplace(own->classId(), own).second) {
        return kRefused;
    }
    own->AddRef();
    return kSuccess;
}

OBXResult Framework::RegisterSingleton(const OBXGuid& classId, const OBXGuid& /*registrationId*/,
                                       IOBXUnknown* object) {
    if (!object) {
        return kNullArgument;
    }
    if (definitions_.count(classId) == 0 || !singletons_.emplace(classId, object).second) {
        return kRefused;
    }
    object->AddRef();
    Reference<IOBXSingleton> singleton;
    return singleton.query(*object, KLB_IID_IOBXSingleton) ? singleton->InitializeSingleton()
                                                           : kSuccess;
}

OBXResult Framework::UnregisterSingleton(const OBXGuid& classId) {
    const auto found = singletons_.find(classId);
    if (found == singletons_.end()) {
        return kNotRegistered;
    }
    IOBXUnknown* const object = found->second;
    singletons_.erase(found);
    OBXResult result = kSuccess;
    {
        Reference<IOBXSingleton> singleton;
        if (singleton.query(*object, KLB_IID_IOBXSingleton)) {
            result = singleton->FinalizeSingleton();
        }
    }
    object->Release();
    return result;
}

OBXResult Framework::FindSingleton(const wchar_t* name, const OBXGuid& iid, void** out) {
    if (!name || !out) {
        return kNullArgument;
    }
    for (const auto& [classId, definition] : definitions_) {
        const auto singleton = singletons_.find(classId);
        if (definition->name() == name && singleton != singletons_.end()) {
            return singleton->second->QueryInterface(iid, out);
        }
    }
    return kNotRegistered;
}
