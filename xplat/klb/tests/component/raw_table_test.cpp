#include "publication.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace klb::test {
namespace {

/// Calls the operation at a place of an object's table, as a program does that shares nothing with
/// this one but the binary interface: on x86-64 the object is the first argument, and a reference
/// is a pointer.
template <class Result, class... Arguments>
Result callSlot(void* object, std::size_t slot, Arguments... arguments) {
    using Operation = Result (*)(void*, Arguments...);
    void* const* const table = *static_cast<void* const* const*>(object);
    return reinterpret_cast<Operation>(table[slot])(object, arguments...);
}

OBXResult query(void* object, const OBXGuid& iid, void** out) {
    return callSlot<OBXResult>(object, 0, &iid, out);
}

TEST(RawTable, OfTheManagerHasThirteenOperationsInTheirOrder) {
    const TempDirectory directory;
    const std::string file = directory.write("t.json", featuresFile(R"("s":true,"d":true)"));
    Publication published;
    void* const object = published.framework.lastObject();

    void* out = nullptr;
    EXPECT_EQ(query(object, KLB_IID_IKLBManager, &out), 0);
    EXPECT_EQ(out, object);
    EXPECT_EQ(callSlot<uint32_t>(object, 1), 1U);
    EXPECT_EQ(callSlot<uint32_t>(object, 2), 1U);

    EXPECT_EQ(callSlot<OBXResult>(object, 3, uint32_t{2}, "token", file.c_str()), 0);
    EXPECT_TRUE(KLB_IsToggleFileRegistered("token"));
    EXPECT_EQ(callSlot<OBXResult>(object, 4, "/s", int32_t{0}, "token"), 0);
    EXPECT_TRUE(KLB_IsToggleRegistered("/s"));
    uint32_t value = 7;
    EXPECT_EQ(callSlot<OBXResult>(object, 5, "/s", &value), 0);
    EXPECT_EQ(value, 1U);
    EXPECT_EQ(callSlot<OBXResult>(object, 6, "/s"), 1);
    EXPECT_EQ(callSlot<OBXResult>(object, 6, "/d"), 0);
    EXPECT_EQ(callSlot<OBXResult>(object, 7, "token"), 1);
    EXPECT_EQ(callSlot<OBXResult>(object, 7, "/s"), 0);
    const std::string text = "token : " + file + "\n/s : true\n";
    std::string buffer(text.size() + 1, '#');
    const auto size = static_cast<uint32_t>(buffer.size());
    EXPECT_EQ(callSlot<uint32_t>(object, 8, buffer.data(), size), size);
    EXPECT_EQ(buffer.c_str(), text);

    EXPECT_EQ(callSlot<OBXResult>(object, 9, "/d", int32_t{0}, "token"), 0);
    EXPECT_TRUE(KLB_IsDynamicToggleRegistered("/d"));
    value = 7;
    EXPECT_EQ(callSlot<OBXResult>(object, 10, "/d", &value), 0);
    EXPECT_EQ(value, 1U);
    EXPECT_EQ(callSlot<OBXResult>(object, 11, "/d", int32_t{0}), 0);
    EXPECT_FALSE(KLB_GetDynamicToggle("/d"));
    EXPECT_EQ(callSlot<OBXResult>(object, 12, "/d"), 1);
    EXPECT_EQ(callSlot<OBXResult>(object, 12, "/s"), 0);
}

TEST(RawTable, OfTheSingletonFaceHasSixOperationsInTheirOrder) {
    const Publication published;
    void* const object = published.framework.lastObject();
    void* singleton = nullptr;
    ASSERT_EQ(query(object, KLB_IID_IOBXSingleton, &singleton), 0);

    // The first three act on the whole object.
    void* out = nullptr;
    EXPECT_EQ(query(singleton, KLB_IID_IKLBManager1, &out), 0);
    EXPECT_EQ(out, object);
    EXPECT_EQ(callSlot<uint32_t>(singleton, 1), 1U);
    EXPECT_EQ(callSlot<uint32_t>(singleton, 2), 1U);
    EXPECT_EQ(callSlot<uint32_t>(singleton, 3), 0U);
    EXPECT_EQ(callSlot<OBXResult>(singleton, 4), 0);
    EXPECT_EQ(callSlot<uint32_t>(singleton, 3), 2U);
    EXPECT_EQ(callSlot<OBXResult>(singleton, 5), 0);
    EXPECT_EQ(callSlot<uint32_t>(singleton, 3), 4U);
}

TEST(RawTable, OfTheHostsInterfacesFollowsTheHeader) {
    FakeFramework framework;
    IOBXUnknown* const host = framework.host();
    const auto ask = [](void* object, const OBXGuid& iid) {
        void* out = nullptr;
        EXPECT_EQ(query(object, iid, &out), 0);
        return out;
    };
    void* const sink = ask(host, KLB_IID_IOBXMessageSink);
    void* const components = ask(host, KLB_IID_IOBXComponentRegistry);
    void* const singletons = ask(host, KLB_IID_IOBXSingletonRegistry);
    void* const registration = ask(components, KLB_IID_IOBXDefinitionRegistration);
    void* const none = nullptr;
    framework.takeAllCalls();

    EXPECT_EQ(callSlot<OBXResult>(sink, 3, uint32_t{1}, "text"), 0);
    void* created = nullptr;
    EXPECT_EQ(codeOf(callSlot<OBXResult>(components, 3, &KLB_ManagerClassId,
                                         &KLB_IID_IOBXComponentDefinition, &created)),
              kNotRegistered);
    EXPECT_EQ(callSlot<OBXResult>(components, 4, &KLB_ComponentDefinitionClassId, none,
                                  &KLB_IID_IOBXComponentDefinition, &created),
              0);
    EXPECT_EQ(callSlot<OBXResult>(created, 3, &KLB_ManagerClassId, &KLB_ManagerCategoryId,
                                  uint32_t{8}, uint32_t{9}, &KLB_ManagerRegistrationId, L"name"),
              0);
    EXPECT_EQ(callSlot<OBXResult>(registration, 3, created), 0);
    EXPECT_EQ(callSlot<OBXResult>(singletons, 3, &KLB_ManagerClassId, &KLB_ManagerRegistrationId,
                                  static_cast<void*>(host)),
              0);
    EXPECT_EQ(callSlot<OBXResult>(singletons, 4, &KLB_ManagerClassId), 0);
    EXPECT_EQ(callSlot<uint32_t>(sink, 1), 2U);
    EXPECT_EQ(callSlot<uint32_t>(sink, 2), 1U);
    EXPECT_EQ(
        framework.takeAllCalls(),
        (Calls{
            "sink.Report(1, text)",
            "components.FindDefinition(manager class, IOBXComponentDefinition)",
            "components.CreateInstance(definition class, null, IOBXComponentDefinition)",
            "created.Define(manager class, manager category, 8, 9, manager registration, name)",
            "registration.Register(created)",
            "singletons.RegisterSingleton(manager class, manager registration, object)",
            "singletons.UnregisterSingleton(manager class)",
            "sink.AddRef()",
            "sink.Release()",
        }));

    for (void* const each : {sink, components, created, singletons, registration}) {
        EXPECT_EQ(callSlot<uint32_t>(each, 2), 0U);
    }
}

/// A host whose objects are tables of plain functions. Each function notes its object, its place in
/// the table and its arguments.
class RawHost {
public:
    RawHost() {
        for (Object* const each :
             {&host_, &sink_, &components_, &definition_, &registration_, &singletons_}) {
            each->host = this;
        }
    }
    RawHost(const RawHost&) = delete;
    RawHost& operator=(const RawHost&) = delete;

    IOBXUnknown* host() {
        return reinterpret_cast<IOBXUnknown*>(&host_);
    }
    Calls takeCalls() {
        return std::exchange(calls_, {});
    }
    int references() const {
        return references_;
    }
    void* registeredObject() const {
        return registeredObject_;
    }

private:
    struct Object {
        const void* const* table;
        const char* name;
        RawHost* host = nullptr;
    };

    /// What a compiler's own tables have in front of their operations; sanitizers look there.
    template <class Interface, std::size_t count>
    struct Table {
        std::ptrdiff_t offset;
        const std::type_info* type;
        std::array<const void*, count> operations;
    };

    template <class... Operations>
    static auto operations(Operations*... each) {
        return std::array{reinterpret_cast<const void*>(each)...};
    }
    template <class Interface, class... Operations>
    static const void* const* tableOf(Operations*... each) {
        static const Table<Interface, sizeof...(each)> table = {0, &typeid(Interface),
                                                                operations(each...)};
        return table.operations.data();
    }

    static std::string join(const std::vector<std::string>& arguments) {
        std::string text;
        for (const std::string& each : arguments) {
            text += (text.empty() ? "" : ", ") + each;
        }
        return text;
    }
    static void note(const Object* self, int slot, const std::vector<std::string>& arguments) {
        self->host->calls_.push_back(self->name + ("[" + std::to_string(slot)) + "](" +
                                     join(arguments) + ")");
    }
    static OBXResult give(const Object* self, Object& object, void** out) {
        ++self->host->references_;
        *out = &object;
        return 0;
    }

    static OBXResult queryInterface(Object* self, const OBXGuid* iid, void** out) {
        const std::string id = klb::test::textOf(*iid);
        note(self, 0, {id});
        RawHost& all = *self->host;
        Object* const object = id == "00000000-0000-0000-C000-000000000046"   ? &all.host_
                               : id == "908C3A6B-F119-11D6-AD24-00039383008C" ? &all.sink_
                               : id == "382B6A96-7FD0-11D6-BCFE-00306542A024" ? &all.components_
                               : id == "CF855126-8A38-46E2-8444-141252DBF8FB" ? &all.registration_
                               : id == "C965741F-39A9-3707-BA90-9C3E1F163F6A" ? &all.singletons_
                                                                              : nullptr;
        return object ? give(self, *object, out) : static_cast<OBXResult>(0x80000002U);
    }
    static uint32_t addRef(Object* self) {
        note(self, 1, {});
        return static_cast<uint32_t>(++self->host->references_);
    }
    static uint32_t release(Object* self) {
        note(self, 2, {});
        return static_cast<uint32_t>(--self->host->references_);
    }
    static OBXResult report(Object* self, uint32_t type, const char* text) {
        note(self, 3, {std::to_string(type), text});
        return 0;
    }
    static OBXResult findDefinition(Object* self, const OBXGuid* classId, const OBXGuid* iid,
                                    void** /*out*/) {
        note(self, 3, {klb::test::textOf(*classId), klb::test::textOf(*iid)});
        return static_cast<OBXResult>(0x8000000DU);
    }
    static OBXResult createInstance(Object* self, const OBXGuid* classId, void* outer,
                                    const OBXGuid* iid, void** out) {
        note(self, 4,
             {klb::test::textOf(*classId), outer ? "outer" : "null", klb::test::textOf(*iid)});
        return give(self, self->host->definition_, out);
    }
    static OBXResult define(Object* self, const OBXGuid* classId, const OBXGuid* categoryId,
                            uint32_t first, uint32_t second, const OBXGuid* registrationId,
                            const wchar_t* name) {
        note(self, 3,
             {klb::test::textOf(*classId), klb::test::textOf(*categoryId), std::to_string(first),
              std::to_string(second), klb::test::textOf(*registrationId),
              std::wstring(name) == L"KLBManager" ? "KLBManager" : "another name"});
        return 0;
    }
    static OBXResult registerDefinition(Object* self, void* definition) {
        note(self, 3, {definition == &self->host->definition_ ? "definition" : "another object"});
        return 0;
    }
    static OBXResult registerSingleton(Object* self, const OBXGuid* classId,
                                       const OBXGuid* registrationId, void* object) {
        note(self, 3, {klb::test::textOf(*classId), klb::test::textOf(*registrationId)});
        self->host->registeredObject_ = object;
        return 0;
    }
    static OBXResult unregisterSingleton(Object* self, const OBXGuid* classId) {
        note(self, 4, {klb::test::textOf(*classId)});
        return 0;
    }

    Object host_{tableOf<IOBXUnknown>(&queryInterface, &addRef, &release), "host"};
    Object sink_{tableOf<IOBXMessageSink>(&queryInterface, &addRef, &release, &report), "sink"};
    Object components_{tableOf<IOBXComponentRegistry>(&queryInterface, &addRef, &release,
                                                      &findDefinition, &createInstance),
                       "components"};
    Object definition_{
        tableOf<IOBXComponentDefinition>(&queryInterface, &addRef, &release, &define),
        "definition"};
    Object registration_{tableOf<IOBXDefinitionRegistration>(&queryInterface, &addRef, &release,
                                                             &registerDefinition),
                         "registration"};
    Object singletons_{tableOf<IOBXSingletonRegistry>(&queryInterface, &addRef, &release,
                                                      &registerSingleton, &unregisterSingleton),
                       "singletons"};
    Calls calls_;
    int references_ = 0;
    void* registeredObject_ = nullptr;
};

TEST(RawTable, OfAHostIsCalledInTheOrderOfTheOperations) {
    RawHost host;
    KLB_Init("TestSystem", false);
    KLB_InitOBX(host.host());
    EXPECT_EQ(
        host.takeCalls(),
        (Calls{
            "host[0](00000000-0000-0000-C000-000000000046)",
            "host[0](908C3A6B-F119-11D6-AD24-00039383008C)",
            "host[0](382B6A96-7FD0-11D6-BCFE-00306542A024)",
            "components[3](9FAC2F14-CA6D-3DD0-8185-A710E2FA348E, "
            "1718A226-7FD0-11D6-BD1D-00306542A024)",
            "components[4](6C422BFA-70E5-11D6-8CDD-0030658A6504, null, "
            "1718A226-7FD0-11D6-BD1D-00306542A024)",
            "definition[3](9FAC2F14-CA6D-3DD0-8185-A710E2FA348E, "
            "EC66EC80-6986-11D5-9BA2-8DB4B42DFD37, 1, 0, 309BB041-B486-32D5-BF1A-C9735C00ED71, "
            "KLBManager)",
            "components[0](CF855126-8A38-46E2-8444-141252DBF8FB)",
            "registration[3](definition)",
            "registration[2]()",
            "host[0](C965741F-39A9-3707-BA90-9C3E1F163F6A)",
            "singletons[3](9FAC2F14-CA6D-3DD0-8185-A710E2FA348E, "
            "309BB041-B486-32D5-BF1A-C9735C00ED71)",
            "singletons[2]()",
            "definition[2]()",
            "components[2]()",
        }));
    EXPECT_EQ(host.references(), 2);

    EXPECT_EQ(codeOf(callSlot<OBXResult>(host.registeredObject(), 11, "/unknown", int32_t{1})),
              kUnexpected);
    EXPECT_EQ(host.takeCalls(),
              (Calls{"sink[3](1, setDynamicToggle: key was not registered as a mutable so it "
                     "cannot be changed after initialization.)",
                     "sink[3](1, \n)"}));

    KLB_Term();
    EXPECT_EQ(host.takeCalls(), (Calls{
                                    "host[0](C965741F-39A9-3707-BA90-9C3E1F163F6A)",
                                    "singletons[4](9FAC2F14-CA6D-3DD0-8185-A710E2FA348E)",
                                    "singletons[2]()",
                                    "sink[2]()",
                                    "host[2]()",
                                }));
    EXPECT_EQ(host.references(), 0);
}

} // namespace
} // namespace klb::test
