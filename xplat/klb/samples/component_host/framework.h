#ifndef KLB_SAMPLES_COMPONENT_HOST_FRAMEWORK_H
#define KLB_SAMPLES_COMPONENT_HOST_FRAMEWORK_H

#include "meridian.h"

#include <atomic>
#include <cstring>
#include <map>
#include <string>

struct GuidOrder {
    bool operator()(const OBXGuid& left, const OBXGuid& right) const {
        return std::memcmp(&left, &right, sizeof left) < 0;
    }
};

/// A component framework as small as can be: one object with all interfaces that a host lends to
/// its components. It lives as long as somebody holds a reference to it.
///
/// The counting of references may run on any thread; whoever calls the rest calls one at a time.
class Framework final : public IOBXMessageSink,
                        public IOBXComponentRegistry,
                        public IOBXDefinitionRegistration,
                        public IOBXSingletonRegistry,
                        public IMeridianDirectory {
public:
    /// Gives the new framework's only reference.
    static Framework* create();

    /// How many objects of the framework, definitions included, are alive.
    static int livingObjects();

    /// The base interface, the same one for every interface that is asked for it.
    IOBXUnknown* base();

    /// How many errors the message sink took.
    int errors() const;

    OBXResult QueryInterface(const OBXGuid& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;

    OBXResult Report(uint32_t type, const char* text) override;

    OBXResult FindDefinition(const OBXGuid& classId, const OBXGuid& iid, void** out) override;
    OBXResult CreateInstance(const OBXGuid& classId, IOBXUnknown* outer, const OBXGuid& iid,
                             void** out) override;

    OBXResult Register(IOBXComponentDefinition* definition) override;

    /// Holds a reference to the object and takes it through the states of a singleton.
    OBXResult RegisterSingleton(const OBXGuid& classId, const OBXGuid& registrationId,
                                IOBXUnknown* object) override;
    OBXResult UnregisterSingleton(const OBXGuid& classId) override;

    OBXResult FindSingleton(const wchar_t* name, const OBXGuid& iid, void** out) override;

private:
    class Definition;

    Framework();
    ~Framework();

    std::atomic<uint32_t> count_{1};
    int errors_ = 0;
    std::map<OBXGuid, Definition*, GuidOrder> definitions_;
    std::map<OBXGuid, IOBXUnknown*, GuidOrder> singletons_;
};

#endif
