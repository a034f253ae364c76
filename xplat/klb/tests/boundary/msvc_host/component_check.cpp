// The component face in both directions: the library calls the host's framework, the host calls the
// manager that it was given there.
#include "checked_faces.h"
#include "checks.h"
#include "framework.h"
#include "system.h"

#include <klb.h>

namespace host {

namespace {

constexpr OBXResult kNullArgument = result(0x80000003);
constexpr OBXResult kUnexpectedFailure = result(0x8000FFFF);

#define HOST_EXPECT_CALLS(expected) HOST_EXPECT_TEXT(takeCalls().get(), (expected))
#define HOST_EXPECT_SINK_REPORTS(expected) HOST_EXPECT_TEXT(takeSinkReports().get(), (expected))

/// A pointer to what the manager gives for an identifier, or to nothing.
void* queried(IOBXUnknown& object, const OBXGuid& iid) {
    void* out = nullptr;
    HOST_EXPECT(object.QueryInterface(iid, &out) == 0);
    return out;
}

void checkIdentity(IOBXUnknown& published) {
    HOST_EXPECT(queried(published, KLB_IID_IOBXUnknown) == &published);
    HOST_EXPECT(queried(published, KLB_IID_IKLBManager) == &published);
    HOST_EXPECT(queried(published, KLB_IID_IKLBManager1) == &published);
    HOST_EXPECT(published.QueryInterface(KLB_IID_IKLBManager, nullptr) == kNullArgument);
    int untouched = 0;
    void* out = &untouched;
    HOST_EXPECT(published.QueryInterface(KLB_ManagerClassId, &out) == 0);
    HOST_EXPECT(out == &untouched);
    HOST_EXPECT(published.AddRef() == 1);
    HOST_EXPECT(published.Release() == 1);
}

void checkSingletonFace(IOBXUnknown& published) {
    auto* singleton = static_cast<IOBXSingleton*>(queried(published, KLB_IID_IOBXSingleton));
    HOST_EXPECT(singleton != nullptr);
    if (singleton == nullptr) {
        return;
    }
    HOST_EXPECT(singleton->GetSingletonState() == 0);
    HOST_EXPECT(singleton->InitializeSingleton() == 0);
    HOST_EXPECT(singleton->GetSingletonState() == 2);
    HOST_EXPECT(singleton->FinalizeSingleton() == 0);
    HOST_EXPECT(singleton->GetSingletonState() == 4);
    HOST_EXPECT(singleton->AddRef() == 1);
    HOST_EXPECT(singleton->Release() == 1);
    HOST_EXPECT(queried(*singleton, KLB_IID_IKLBManager) == &published);
}

void checkToggles(IKLBManager& manager, const Text& file) {
    HOST_EXPECT(manager.RegisterToggleFile(KLB_ToggleFileType_Supported, "print", file.get()) == 0);
    HOST_EXPECT(manager.IsToggleFileRegistered("print") == 1);
    HOST_EXPECT(manager.IsToggleFileRegistered("editor") == 0);
    HOST_EXPECT(manager.RegisterToggle("/print/duplex", 0, "print") == 0);
    HOST_EXPECT(manager.RegisterToggle("/print/colour", -1, "print") == 0);
    HOST_EXPECT(manager.RegisterDynamicToggle("/print/draft", 0, "print") == 0);
    HOST_EXPECT(manager.IsToggleRegistered("/print/duplex") == 1);
    HOST_EXPECT(manager.IsToggleRegistered("/print/draft") == 0);
    HOST_EXPECT(manager.IsDynamicToggleRegistered("/print/draft") == 1);
    HOST_EXPECT(manager.IsDynamicToggleRegistered("/print/duplex") == 0);

    uint32_t value = 7;
    HOST_EXPECT(manager.GetToggle("/print/duplex", &value) == 0 && value == 1);
    value = 7;
    HOST_EXPECT(manager.GetToggle("/print/colour", &value) == 0 && value == 1);
    value = 7;
    HOST_EXPECT(manager.GetDynamicToggle("/print/draft", &value) == 0 && value == 0);
    HOST_EXPECT(manager.SetDynamicToggle("/print/draft", -1) == 0);
    HOST_EXPECT(manager.GetDynamicToggle("/print/draft", &value) == 0 && value == 1);
    HOST_EXPECT(KLB_GetDynamicToggle("/print/draft"));
    HOST_EXPECT(manager.SetDynamicToggle("/print/draft", 0) == 0);
    HOST_EXPECT(!KLB_GetDynamicToggle("/print/draft"));

    const Text expected = Text("print : ").append(file).append("\n/print/duplex : true\n");
    char buffer[Text::kCapacity] = {};
    HOST_EXPECT(manager.GetOverrideInfoString(nullptr, 0) == expected.length() + 1);
    HOST_EXPECT(manager.GetOverrideInfoString(buffer, sizeof buffer) == expected.length() + 1);
    HOST_EXPECT_TEXT(buffer, expected.get());
    HOST_EXPECT_SINK_REPORTS("");
}

void checkNullArguments(IKLBManager& manager) {
    uint32_t value = 7;
    HOST_EXPECT(manager.RegisterToggleFile(2, nullptr, "x") == kNullArgument);
    HOST_EXPECT(manager.RegisterToggleFile(2, "x", nullptr) == kNullArgument);
    HOST_EXPECT(manager.RegisterToggle(nullptr, 1, "x") == kNullArgument);
    HOST_EXPECT(manager.RegisterToggle("/x", 1, nullptr) == kNullArgument);
    HOST_EXPECT(manager.RegisterDynamicToggle(nullptr, 1, "x") == kNullArgument);
    HOST_EXPECT(manager.RegisterDynamicToggle("/x", 1, nullptr) == kNullArgument);
    HOST_EXPECT(manager.GetToggle(nullptr, &value) == kNullArgument);
    HOST_EXPECT(manager.GetToggle("/x", nullptr) == kNullArgument);
    HOST_EXPECT(manager.GetDynamicToggle(nullptr, &value) == kNullArgument);
    HOST_EXPECT(manager.GetDynamicToggle("/x", nullptr) == kNullArgument);
    HOST_EXPECT(manager.SetDynamicToggle(nullptr, 1) == kNullArgument);
    HOST_EXPECT(manager.IsToggleRegistered(nullptr) == kNullArgument);
    HOST_EXPECT(manager.IsDynamicToggleRegistered(nullptr) == kNullArgument);
    HOST_EXPECT(value == 7);
    HOST_EXPECT_SINK_REPORTS("");
}

/// No exception leaves the face; without a callback their texts go to the sink, with one the errors
/// go there.
void checkErrors(IKLBManager& manager) {
    uint32_t value = 7;
    HOST_EXPECT(manager.RegisterToggleFile(KLB_ToggleFileType_Invalid, "x", "y") ==
                kUnexpectedFailure);
    HOST_EXPECT_SINK_REPORTS(
        "1 registerToggleFile: toggleFileType is an unknown toggle file type.\n1 \n\n");
    HOST_EXPECT(manager.GetToggle("/print/draft", &value) == kUnexpectedFailure && value == 0);
    HOST_EXPECT_SINK_REPORTS("1 getToggle: key is a mutable.\n1 \n\n");
    HOST_EXPECT(manager.SetDynamicToggle("draft", 1) == kUnexpectedFailure);
    HOST_EXPECT_SINK_REPORTS("1 setDynamicToggle: key must start with '/' character.\n1 \n\n");
    HOST_EXPECT(manager.IsToggleFileRegistered(nullptr) == 0);
    HOST_EXPECT_SINK_REPORTS(
        "1 isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.\n1 \n\n");

    recordMessages();
    value = 7;
    HOST_EXPECT(manager.GetToggle("/print/draft", &value) == 0 && value == 0);
    HOST_EXPECT_MESSAGES("1 getToggle: key is a mutable.\n");
    HOST_EXPECT_SINK_REPORTS("");
    KLB_InitMessageProc(nullptr);
}

void checkPublication() {
    KLB_Init("ACME-0042", false);
    HOST_EXPECT(!KLB_IsOBXInitialized());
    setManagerDefined(false);
    KLB_InitOBX(&framework());
    HOST_EXPECT_CALLS("QueryInterface Unknown\n"
                      "QueryInterface MessageSink\n"
                      "QueryInterface ComponentRegistry\n"
                      "FindDefinition ManagerClass ComponentDefinition\n"
                      "CreateInstance ComponentDefinitionClass alone ComponentDefinition\n"
                      "Define ManagerClass ManagerCategory 1 0 ManagerRegistration KLBManager\n"
                      "ComponentRegistry: QueryInterface DefinitionRegistration\n"
                      "Register the definition\n"
                      "QueryInterface SingletonRegistry\n"
                      "RegisterSingleton ManagerClass ManagerRegistration\n");
    HOST_EXPECT(KLB_IsOBXInitialized());
    HOST_EXPECT(referencesHeld() == 2);
    KLB_InitOBX(&framework());
    HOST_EXPECT_CALLS("");
}

void checkWithdrawal() {
    KLB_Term();
    HOST_EXPECT_CALLS("QueryInterface SingletonRegistry\n"
                      "UnregisterSingleton ManagerClass\n");
    HOST_EXPECT(registeredSingleton() == nullptr);
    HOST_EXPECT(referencesHeld() == 0);
    HOST_EXPECT(!KLB_IsOBXInitialized());
}

/// The class stays defined, so that only the singleton is registered the next time.
void checkSecondPublication() {
    KLB_Init("ACME-0042", false);
    setManagerDefined(true);
    KLB_InitOBX(&framework());
    HOST_EXPECT_CALLS("QueryInterface Unknown\n"
                      "QueryInterface MessageSink\n"
                      "QueryInterface ComponentRegistry\n"
                      "FindDefinition ManagerClass ComponentDefinition\n"
                      "QueryInterface SingletonRegistry\n"
                      "RegisterSingleton ManagerClass ManagerRegistration\n");
    HOST_EXPECT(referencesHeld() == 2);
    checkWithdrawal();
}

} // namespace

void checkComponentFace() {
    TempDirectory directory;
    const Text file = directory.write(
        "print.json",
        R"({"header":{"systemId":"ACME-0042"},"features":{"print":{"duplex":true}}})");

    checkPublication();
    IOBXUnknown* const published = registeredSingleton();
    HOST_EXPECT(published != nullptr);
    if (published == nullptr) {
        return;
    }
    checkIdentity(*published);
    checkSingletonFace(*published);
    auto& manager = *static_cast<IKLBManager*>(queried(*published, KLB_IID_IKLBManager));
    checkToggles(manager, file);
    checkNullArguments(manager);
    checkErrors(manager);
    checkWithdrawal();
    checkSecondPublication();
}

} // namespace host
