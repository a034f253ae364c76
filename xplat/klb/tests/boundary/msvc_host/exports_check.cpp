// Every exported function, with the message callback that a host of another C++ runtime needs.
#include "checked_faces.h"
#include "checks.h"
#include "system.h"

#include <klb.h>

namespace host {

namespace {

const char* const kEditorFile =
    R"({"header":{"systemId":"ACME-0042"},"features":{"editor":{"fastPath":true}}})";
const char* const kOverrideFile = R"({"header":{"systemId":"ACME-0042"},"net":{"fastSync":false}})";

/// The path as it stands in a JSON text.
Text inJson(const char* path) {
    Text escaped;
    for (; *path != '\0'; ++path) {
        const char unit[] = {*path, '\0'};
        escaped.append(*path == '\\' ? "\\\\" : unit);
    }
    return escaped;
}

void checkBeforeInit() {
    HOST_EXPECT(!KLB_IsInitialized());
    HOST_EXPECT(!KLB_IsOBXInitialized());
    HOST_EXPECT(!KLB_IsToggleFileRegistered("editor"));
    HOST_EXPECT(!KLB_IsToggleRegistered("/editor/fastPath"));
    HOST_EXPECT(!KLB_IsDynamicToggleRegistered("/editor/fastPath"));
    HOST_EXPECT(KLB_GetOverrideInfoString(nullptr, 0) == 0);
    HOST_EXPECT(KLB_GetDefaultToggleJson("Editor", "2.1", nullptr, 0) == 0);
    KLB_Term();
    HOST_EXPECT_MESSAGES("");

    KLB_SetOverridePath("C:\\");
    HOST_EXPECT_MESSAGES("1 KLB_SetOverridePath: KLB_Init must be called first.\n");
    KLB_SetCertificateData("");
    HOST_EXPECT_MESSAGES("1 KLB_SetCertificateData: KLB_Init must be called first.\n");
    KLB_InitOBX(nullptr);
    HOST_EXPECT_MESSAGES("1 KLB_InitOBX: KLB_Init must be called first.\n");
    KLB_AddToggleComment("/editor/fastPath", "");
    HOST_EXPECT_MESSAGES("1 KLB_AddToggleComment: KLB_Init must be called first.\n");

    const char* const toggleCall = "1 KLB_RegisterToggleFile: KLB_Init must be called first.\n";
    KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, "editor", "editor.json");
    HOST_EXPECT_MESSAGES(toggleCall);
    KLB_RegisterToggle("/editor/fastPath", true, "editor");
    HOST_EXPECT_MESSAGES(toggleCall);
    KLB_RegisterDynamicToggle("/editor/fastPath", true, "editor");
    HOST_EXPECT_MESSAGES(toggleCall);
    HOST_EXPECT(!KLB_GetToggle("/editor/fastPath"));
    HOST_EXPECT_MESSAGES(toggleCall);
    HOST_EXPECT(!KLB_GetDynamicToggle("/editor/fastPath"));
    HOST_EXPECT_MESSAGES(toggleCall);
    KLB_SetDynamicToggle("/editor/fastPath", true);
    HOST_EXPECT_MESSAGES(toggleCall);

    KLB_Init(nullptr, false);
    HOST_EXPECT_MESSAGES("1 KLB_Init: sysID must not be NULL.\n");
    HOST_EXPECT(!KLB_IsInitialized());
}

void checkSetUp(const TempDirectory& directory) {
    KLB_Init("ACME-0042", true);
    HOST_EXPECT(KLB_IsInitialized());
    KLB_SetOverridePath(directory.path());
    HOST_EXPECT_MESSAGES("");
    KLB_SetOverridePath(directory.path());
    HOST_EXPECT_MESSAGES("1 setOverridePath: override path has already been set.\n");
    KLB_SetCertificateData("no certificate");
    HOST_EXPECT_MESSAGES(
        "1 setCertificateData: can't read certificate from the certificate data provided.\n");
    KLB_SetCertificateData(nullptr);
    HOST_EXPECT_MESSAGES("");
    KLB_InitOBX(nullptr);
    HOST_EXPECT_MESSAGES("1 KLB_InitOBX: pHostUnk must not be NULL.\n");
    HOST_EXPECT(!KLB_IsOBXInitialized());
}

void checkRegistration(const Text& editorFile) {
    KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, "editor", editorFile.get());
    HOST_EXPECT_MESSAGES("");
    HOST_EXPECT(KLB_IsToggleFileRegistered("editor"));
    HOST_EXPECT(!KLB_IsToggleFileRegistered("print"));
    KLB_RegisterToggleFile(KLB_ToggleFileType_Invalid, "print", "print.json");
    HOST_EXPECT_MESSAGES("1 registerToggleFile: toggleFileType is an unknown toggle file type.\n");

    KLB_RegisterToggle("/editor/fastPath", false, "editor");
    KLB_RegisterToggle("/editor/ruler", true, "editor");
    KLB_RegisterToggle("/net/fastSync", true, "editor");
    KLB_RegisterDynamicToggle("/editor/zoom", true, "editor");
    HOST_EXPECT_MESSAGES("");
    KLB_RegisterToggle("/editor/fastPath", false, "another");
    HOST_EXPECT_MESSAGES(Text("1 registerToggle: /editor/fastPath already registred in ")
                             .append(editorFile)
                             .append("\n")
                             .get());
    HOST_EXPECT(KLB_IsToggleRegistered("/editor/fastPath"));
    HOST_EXPECT(!KLB_IsToggleRegistered("/editor/zoom"));
    HOST_EXPECT(KLB_IsDynamicToggleRegistered("/editor/zoom"));
    HOST_EXPECT(!KLB_IsDynamicToggleRegistered("/editor/fastPath"));
    HOST_EXPECT_MESSAGES("");
}

void checkValues() {
    HOST_EXPECT(KLB_GetToggle("/editor/fastPath"));
    HOST_EXPECT(KLB_GetToggle("/editor/ruler"));
    HOST_EXPECT(!KLB_GetToggle("/net/fastSync"));
    HOST_EXPECT(KLB_GetDynamicToggle("/editor/zoom"));
    KLB_SetDynamicToggle("/editor/zoom", false);
    HOST_EXPECT(!KLB_GetDynamicToggle("/editor/zoom"));
    KLB_SetDynamicToggle("/editor/zoom", true);
    HOST_EXPECT(KLB_GetDynamicToggle("/editor/zoom"));
    KLB_AddToggleComment("/editor/fastPath", "since 2.0");
    HOST_EXPECT_MESSAGES("");

    HOST_EXPECT(!KLB_GetToggle("/editor/zoom"));
    HOST_EXPECT_MESSAGES("1 getToggle: key is a mutable.\n");
    HOST_EXPECT(!KLB_GetDynamicToggle("/editor/fastPath"));
    HOST_EXPECT_MESSAGES("1 getToggle: key is is immutable after initialization.\n");
    KLB_SetDynamicToggle("/editor/fastPath", false);
    HOST_EXPECT_MESSAGES("1 setDynamicToggle: key was not registered as a mutable so it cannot be "
                         "changed after initialization.\n");
    KLB_AddToggleComment("/editor/fastPath", nullptr);
    HOST_EXPECT_MESSAGES("1 addToggleProperty: propertyValue cannot be NULL.\n");
    HOST_EXPECT(!KLB_GetToggle("/absent"));
    HOST_EXPECT_MESSAGES("2 getToggle: key, /absent, was not registered. Returning false.\n");
}

template <class Report>
void checkReport(const Report& report, const Text& expected) {
    char buffer[Text::kCapacity] = {};
    const unsigned long long size = expected.length() + 1;
    HOST_EXPECT(report(nullptr, 0) == size);
    HOST_EXPECT(report(buffer, sizeof buffer) == size);
    HOST_EXPECT_TEXT(buffer, expected.get());

    buffer[4] = '#';
    HOST_EXPECT(report(buffer, 4) == 4);
    HOST_EXPECT(buffer[2] == expected.get()[2] && buffer[3] == '\0' && buffer[4] == '#');
    HOST_EXPECT_MESSAGES("");
}

void checkReports(const TempDirectory& directory, const Text& editorFile) {
    checkReport([](char* buffer,
                   unsigned long long size) { return KLB_GetOverrideInfoString(buffer, size); },
                Text("cit.feature.overrides : ")
                    .append(directory.pathOf("CIT_OVERRIDE.KLB"))
                    .append("\n/net/fastSync : false\neditor : ")
                    .append(editorFile)
                    .append("\n/editor/fastPath : true\n"));

    checkReport(
        [](char* buffer, unsigned long long size) {
            return KLB_GetDefaultToggleJson("Editor", "2.1", buffer, size);
        },
        Text(R"({
    "KLB_ModuleName": "Editor",
    "KLB_ModuleVersion": "2.1",
    "KLB_ToggleFiles": {
        "editor": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": ")")
            .append(inJson(editorFile.get()))
            .append(R"("
        }
    },
    "KLB_Toggles": {
        "editor": {
            "fastPath": {
                "KLB_DefaultValue": false,
                "KLB_IsDynamic": false,
                "KLB_ToggleFileToken": "editor",
                "KLB_ToggleComment": "since 2.0"
            },
            "ruler": {
                "KLB_DefaultValue": true,
                "KLB_IsDynamic": false,
                "KLB_ToggleFileToken": "editor"
            },
            "zoom": {
                "KLB_DefaultValue": true,
                "KLB_IsDynamic": true,
                "KLB_ToggleFileToken": "editor"
            }
        },
        "net": {
            "fastSync": {
                "KLB_DefaultValue": true,
                "KLB_IsDynamic": false,
                "KLB_ToggleFileToken": "editor"
            }
        }
    }
})"));
}

} // namespace

void checkExports() {
    TempDirectory directory;
    const Text editorFile = directory.write("editor.json", kEditorFile);
    directory.write("CIT_OVERRIDE.KLB", kOverrideFile);

    recordMessages();
    checkBeforeInit();
    checkSetUp(directory);
    checkRegistration(editorFile);
    checkValues();
    checkReports(directory, editorFile);
    KLB_Term();
    HOST_EXPECT(!KLB_IsInitialized());
    HOST_EXPECT_MESSAGES("");
    KLB_InitMessageProc(nullptr);
}

} // namespace host
