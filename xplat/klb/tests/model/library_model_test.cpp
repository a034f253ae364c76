#include "library_model.h"
#include "message_recorder.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

using Messages = std::vector<Message>;

const JsonValue kTrue = JsonValue::boolean(true);
const JsonValue kFalse = JsonValue::boolean(false);

/// A model whose session has begun, on a computer with these files.
class StartedModel {
public:
    explicit StartedModel(const std::vector<DiskFile>& files = {},
                          const char* systemId = "TestSystem", bool enableOverride = false)
        : surroundings_{"S:\\support\\", "S:\\host\\", "ABC123", files}, model_(surroundings_) {
        model_.initMessageProc(&MessageRecorder::record);
        model_.init(systemId, enableOverride);
    }

    LibraryModel* operator->() {
        return &model_;
    }

    /// What the callback received since the last call; forgets it.
    std::vector<Message> takeMessages() {
        return recorder_.take();
    }

    /// The report's part about toggles, of a registry with nothing but these static toggles.
    static std::string treeOf(const std::vector<std::string>& keys) {
        StartedModel model;
        for (const std::string& key : keys) {
            model->registerToggle(key.c_str(), false, "t");
        }
        return model->defaultToggleJson(nullptr, nullptr);
    }

private:
    MessageRecorder recorder_;
    Surroundings surroundings_;
    LibraryModel model_;
};

/// The properties of a static toggle of token t as they stand at this depth, without the closing
/// bracket's line.
std::string propertiesAt(std::size_t level) {
    const std::string indent(4 * level, ' ');
    return indent + "\"KLB_DefaultValue\": false,\n" + indent + "\"KLB_IsDynamic\": false,\n" +
           indent + "\"KLB_ToggleFileToken\": \"t\"";
}

TEST(JsonText, EscapesWhatItMustAndNothingElse) {
    std::string controls;
    for (char byte = 1; byte < 0x20; ++byte) {
        controls += byte;
    }
    EXPECT_EQ(jsonText(JsonValue::string(controls)),
              R"("\u0001\u0002\u0003\u0004\u0005\u0006\u0007\b\t\n\u000B\f\r\u000E\u000F)"
              R"(\u0010\u0011\u0012\u0013\u0014\u0015\u0016\u0017\u0018\u0019\u001A\u001B)"
              R"(\u001C\u001D\u001E\u001F")");
    EXPECT_EQ(jsonText(JsonValue::string("\"\\/ '\x7F caf\xC3\xA9 \xFF")),
              "\"\\\"\\\\/ '\x7F caf\xC3\xA9 \xFF\"");
}

TEST(JsonText, IndentsMembersAndKeepsEmptyObjectsShort) {
    JsonValue inner;
    inner.add("x", JsonValue::literal("[]"));
    JsonValue root;
    EXPECT_EQ(jsonText(root), "{}");
    root.add("a", JsonValue::object());
    root.add("b", inner);
    root.add("", kTrue);
    EXPECT_EQ(jsonText(root), R"({
    "a": {},
    "b": {
        "x": []
    },
    "": true
})");
}

TEST(DocumentFile, HoldsItsEntries) {
    const DiskFile file = documentFile("x.json", {{"/header/systemId", JsonValue::string("Id")},
                                                  {"/features/a/b", kTrue},
                                                  {"/features/a/", kFalse},
                                                  {"/features/c", JsonValue::object()}});
    EXPECT_EQ(file.bytes, R"({
    "header": {
        "systemId": "Id"
    },
    "features": {
        "a": {
            "b": true,
            "": false
        },
        "c": {}
    }
})");
}

TEST(DocumentFile, RefusesEntriesThatExcludeEachOther) {
    EXPECT_THROW(documentFile("x.json", {{"/a", kTrue}, {"/a/b", kTrue}}), std::logic_error);
    EXPECT_THROW(documentFile("x.json", {{"/a/b", kTrue}, {"/a", kTrue}}), std::logic_error);
    EXPECT_THROW(documentFile("x.json", {{"/a", kTrue}, {"/a", kTrue}}), std::logic_error);
    EXPECT_THROW(documentFile("x.json", {{"a", kTrue}}), std::logic_error);
}

TEST(ModelledJsonReport, OfNothingIsAnEmptyObject) {
    StartedModel model;
    EXPECT_EQ(model->defaultToggleJson(nullptr, nullptr), "{}");
    EXPECT_EQ(model->getDefaultToggleJson(nullptr, nullptr, nullptr, 0), 3U);
    EXPECT_EQ(model->defaultToggleJson("", nullptr), "{\n    \"KLB_ModuleName\": \"\"\n}");
    EXPECT_EQ(model->defaultToggleJson(nullptr, "1"), "{\n    \"KLB_ModuleVersion\": \"1\"\n}");
}

TEST(ModelledJsonReport, DescribesModuleFilesAndToggles) {
    StartedModel model;
    model->registerToggleFile(KLB_ToggleFileType_Supported, "app.features", "app.json");
    model->registerDynamicToggle("/editor/fastPath", false, "app.features");
    model->registerToggle("/beta", true, "app.features");
    model->addToggleComment("/editor/fastPath", "Draws \"twice\"\nas fast");
    model->addToggleComment("/editor/fastPath", "dropped");
    EXPECT_EQ(model.takeMessages(), Messages{});
    EXPECT_EQ(model->defaultToggleJson("Editor", "2.1"), R"({
    "KLB_ModuleName": "Editor",
    "KLB_ModuleVersion": "2.1",
    "KLB_ToggleFiles": {
        "app.features": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "app.json"
        }
    },
    "KLB_Toggles": {
        "beta": {
            "KLB_DefaultValue": true,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": "app.features"
        },
        "editor": {
            "fastPath": {
                "KLB_DefaultValue": false,
                "KLB_IsDynamic": true,
                "KLB_ToggleFileToken": "app.features",
                "KLB_ToggleComment": "Draws \"twice\"\nas fast"
            }
        }
    }
})");
}

TEST(ModelledJsonReport, PutsAToggleInsideTheToggleAboveIt) {
    EXPECT_EQ(StartedModel::treeOf({"/a/b/c", "/a", "/a/b"}),
              "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {\n        \"a\": {\n" +
                  propertiesAt(3) + ",\n            \"b\": {\n" + propertiesAt(4) +
                  ",\n                \"c\": {\n" + propertiesAt(5) +
                  "\n                }\n            }\n        }\n    }\n}");
}

TEST(ModelledJsonReport, VisitsTogglesInByteOrder) {
    EXPECT_EQ(StartedModel::treeOf({"/a/b", "/a.b", "/\xC3\xA9", "/a-b", "/a"}),
              "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {\n        \"a\": {\n" +
                  propertiesAt(3) + ",\n            \"b\": {\n" + propertiesAt(4) +
                  "\n            }\n        },\n        \"a-b\": {\n" + propertiesAt(3) +
                  "\n        },\n        \"a.b\": {\n" + propertiesAt(3) +
                  "\n        },\n        \"\xC3\xA9\": {\n" + propertiesAt(3) +
                  "\n        }\n    }\n}");
}

TEST(ModelledJsonReport, DropsTogglesThatHitAProperty) {
    const std::string alone = StartedModel::treeOf({"/a"});
    EXPECT_EQ(StartedModel::treeOf({"/a", "/a/KLB_DefaultValue", "/a/KLB_ToggleFileToken/x"}),
              alone);

    StartedModel model;
    model->registerToggle("/a", false, "t");
    model->registerToggle("/a/KLB_ToggleComment", false, "t");
    EXPECT_EQ(model->defaultToggleJson(nullptr, nullptr),
              "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {\n        \"a\": {\n" +
                  propertiesAt(3) + ",\n            \"KLB_ToggleComment\": {\n" + propertiesAt(4) +
                  "\n            }\n        }\n    }\n}");
    model->addToggleComment("/a", "");
    EXPECT_EQ(model->defaultToggleJson(nullptr, nullptr),
              "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {\n        \"a\": {\n" +
                  propertiesAt(3) +
                  ",\n            \"KLB_ToggleComment\": \"\"\n        }\n    }\n}");
}

TEST(ModelledJsonReport, TakesEmptySegmentsForNames) {
    EXPECT_EQ(StartedModel::treeOf({"/x/", "/x//y"}),
              "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {\n        \"x\": {\n"
              "            \"\": {\n" +
                  propertiesAt(4) + ",\n                \"y\": {\n" + propertiesAt(5) +
                  "\n                }\n            }\n        }\n    }\n}");
    EXPECT_EQ(StartedModel::treeOf({"", "x", "x/y"}),
              "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {}\n}");
}

TEST(ModelledJsonReport, NamesFilesInOrderOfTheirTokensAndByTheirKinds) {
    const DiskFile plain = documentFile("S:\\support\\plain.json", {{"/features/a", kTrue}});
    StartedModel model({plain}, "TestSystem", true);
    model->registerToggleFile(static_cast<KLB_ToggleFileType>(9), "nine", "no\\such");
    model->registerToggleFile(KLB_ToggleFileType_Override, "hidden", "hidden.json");
    model->registerToggleFile(KLB_ToggleFileType_Unsupported, "gone", "gone.klb");
    model->registerToggle("/a", false, "implicit");
    model->registerToggleFile(KLB_ToggleFileType_Supported, "core", "plain.json");
    model->registerToggleFile(KLB_ToggleFileType_Supported, "also core", "S:\\support\\plain.json");
    model->registerToggleFile(KLB_ToggleFileType_Supported, "implicit", "late.json");
    EXPECT_EQ(model.takeMessages(),
              Messages{error("registerToggleFile: toggle file path location as already been "
                             "registered to 'also core'")});
    model->registerToggleFile(KLB_ToggleFileType_Supported, "core", "other.json");
    EXPECT_EQ(model.takeMessages(),
              Messages{error("registerToggleFile: toggle file path location as already been set to "
                             "'S:\\support\\plain.json'")});
    EXPECT_EQ(model->defaultToggleJson(nullptr, nullptr), R"({
    "KLB_ToggleFiles": {
        "nine": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "no\\such"
        },
        "gone": {
            "KLB_ToggleFileType": "KLB_UnsupportedFeatures",
            "KLB_ToggleFile": "gone.klb"
        },
        "core": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "plain.json"
        },
        "also core": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": ""
        }
    },
    "KLB_Toggles": {
        "a": {
            "KLB_DefaultValue": false,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": "implicit"
        }
    }
})");
}

/// A computer with a toggle file and an override file, both for the device ABC123.
std::vector<DiskFile> editorFiles() {
    const DocumentEntry header = {"/header/systemId", JsonValue::string("ABC123")};
    return {documentFile("C:\\App\\editor.json",
                         {header, {"/features/editor/newTimeline", kTrue}, {"/ignored", kTrue}}),
            documentFile("C:\\App\\CIT_OVERRIDE.KLB", {header,
                                                       {"/net/fastSync", kFalse},
                                                       {"/features/editor/newTimeline", kFalse},
                                                       {"/back", kFalse}})};
}

TEST(ModelledOverrideReport, OfNothingIsEmpty) {
    StartedModel model;
    EXPECT_EQ(model->overrideInfoString(), "");
    char buffer[] = "untouched";
    EXPECT_EQ(model->getOverrideInfoString(nullptr, 5), 0U);
    EXPECT_EQ(model->getOverrideInfoString(buffer, sizeof buffer), 0U);
    EXPECT_STREQ(buffer, "untouched");
}

TEST(ModelledOverrideReport, NamesTheDeviceOnlyInPlaceOfASystemIdentifier) {
    StartedModel model({}, "");
    EXPECT_EQ(model->overrideInfoString(), "DeviceID : ABC123\n");
    EXPECT_EQ(model->getOverrideInfoString(nullptr, 0), 19U);
}

TEST(ModelledOverrideReport, ListsWhatEachFileSet) {
    StartedModel model(editorFiles(), "", true);
    model->setOverridePath("C:\\App");
    model->registerToggleFile(KLB_ToggleFileType_Supported, "editor", "C:\\App\\editor.json");
    model->registerToggle("/net/fastSync", true, "editor");
    model->registerDynamicToggle("/editor/newTimeline", false, "editor");
    model->registerToggle("/ignored", false, "editor");
    model->registerToggle("/equal", false, "equal");
    EXPECT_EQ(model.takeMessages(), Messages{});
    const std::string start = "DeviceID : ABC123\n"
                              "cit.feature.overrides : C:\\App\\CIT_OVERRIDE.KLB\n"
                              "/net/fastSync : false\n"
                              "editor : C:\\App\\editor.json\n";
    EXPECT_EQ(model->overrideInfoString(), start + "/editor/newTimeline : true\n");
    EXPECT_FALSE(model->getToggle("/net/fastSync"));
    EXPECT_TRUE(model->getDynamicToggle("/editor/newTimeline"));

    model->setDynamicToggle("/editor/newTimeline", false);
    EXPECT_EQ(model->overrideInfoString(), start + "/editor/newTimeline : false\n");
    model->registerDynamicToggle("/unlisted", false, "editor");
    model->setDynamicToggle("/unlisted", true);
    EXPECT_EQ(model->overrideInfoString(), start + "/editor/newTimeline : false\n");
    EXPECT_TRUE(model->getDynamicToggle("/unlisted"));
}

TEST(ModelledOverrideReport, ListsUnderTheOverrideFileWhatItSetBack) {
    StartedModel model({documentFile("S:\\support\\x.json", {{"/back", kTrue}}),
                        documentFile("S:\\host\\CIT_OVERRIDE.KLB", {{"/back", kFalse}})},
                       "TestSystem", true);
    model->registerToggleFile(KLB_ToggleFileType_Supported, "x", "x.json");
    model->registerToggle("/back", false, "x");
    EXPECT_EQ(model->overrideInfoString(), "cit.feature.overrides : S:\\host\\CIT_OVERRIDE.KLB\n"
                                           "/back : false\n");
    EXPECT_FALSE(model->getToggle("/back"));
}

TEST(ModelledReports, CutTheirTextToTheBuffer) {
    StartedModel model({}, "");
    char buffer[32] = "..............................";
    EXPECT_EQ(model->getOverrideInfoString(buffer, 5), 5U);
    EXPECT_EQ(std::string(buffer, 7), std::string("Devi\0..", 7));
    EXPECT_EQ(model->getOverrideInfoString(buffer, 19), 19U);
    EXPECT_EQ(std::string(buffer, 20), std::string("DeviceID : ABC123\n\0.", 20));
    EXPECT_EQ(model->getOverrideInfoString(buffer, 0), 0U);

    char json[] = "....";
    EXPECT_EQ(model->getDefaultToggleJson(nullptr, nullptr, json, 0), 0U);
    EXPECT_EQ(std::string(json, 4), "....");
    EXPECT_EQ(model->getDefaultToggleJson(nullptr, nullptr, json, 1), 1U);
    EXPECT_EQ(std::string(json, 4), std::string("\0...", 4));
    EXPECT_EQ(model->getDefaultToggleJson(nullptr, nullptr, json, 2), 2U);
    EXPECT_EQ(std::string(json, 4), std::string("{\0..", 4));
    EXPECT_EQ(model->getDefaultToggleJson(nullptr, nullptr, json, 4), 3U);
    EXPECT_EQ(std::string(json, 4), std::string("{}\0.", 4));
}

TEST(ModelledToggles, TakeTheirValuesFromTheRightPlaceInAFile) {
    const std::vector<DiskFile> files = {
        documentFile("S:\\support\\features.json", {{"/features/a", kTrue},
                                                    {"/features/b/c", kTrue},
                                                    {"/features/text", JsonValue::string("true")},
                                                    {"/features/number", JsonValue::literal("1")},
                                                    {"/root", kTrue}}),
        documentFile("S:\\support\\root.json", {{"/a", kTrue}, {"/b/", kTrue}, {"/", kTrue}}),
        documentFile("S:\\support\\flag.json", {{"/features", kTrue}, {"/a", kTrue}})};
    const struct {
        const char* file;
        const char* key;
        bool isSet;
    } cases[] = {
        {"features.json", "/a", true},     {"features.json", "/b/c", true},
        {"features.json", "/b", false},    {"features.json", "/a/x", false},
        {"features.json", "/text", false}, {"features.json", "/number", false},
        {"features.json", "/root", false}, {"features.json", "/features/a", false},
        {"root.json", "/a", true},         {"root.json", "/b/", true},
        {"root.json", "/", true},          {"root.json", "/b", false},
        {"flag.json", "/a", false},        {"flag.json", "/features", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " " + c.key);
        StartedModel model(files);
        model->registerToggleFile(KLB_ToggleFileType_Supported, "t", c.file);
        model->registerToggle(c.key, false, "t");
        EXPECT_EQ(model->getToggle(c.key), c.isSet);
        EXPECT_EQ(model.takeMessages(), Messages{});
    }
}

TEST(ModelledToggles, WithoutLeadingSlashAreFoundInNoFile) {
    StartedModel model(
        {documentFile("S:\\support\\flag.json", {{"/features", kTrue}}),
         documentFile("S:\\support\\near.json", {{"/featuresa", kTrue}, {"/features/b", kTrue}})});
    model->registerToggleFile(KLB_ToggleFileType_Supported, "flag", "flag.json");
    model->registerToggleFile(KLB_ToggleFileType_Supported, "near", "near.json");
    model->registerToggle("", false, "flag");
    model->registerToggle("a", false, "near");
    EXPECT_EQ(model->overrideInfoString(), "");
}

TEST(ModelledToggleFiles, ReportWhyTheyCannotBeLoaded) {
    const std::string path = "S:\\support\\x.json";
    const std::vector<DocumentEntry> fitting = {{"/header/systemId", JsonValue::string("Test")},
                                                {"/a", kTrue}};
    const struct {
        const char* name;
        DiskFile file;
        KLB_ToggleFileType type;
        std::string reported;
    } cases[] = {
        {"fitting", documentFile(path, fitting), KLB_ToggleFileType_Supported, ""},
        {"fitting override", documentFile(path, fitting), KLB_ToggleFileType_Override, ""},
        {"read as protected", documentFile(path, fitting), KLB_ToggleFileType_Unsupported,
         "error reading input file\n in file: " + path},
        {"other system", documentFile(path, {{"/header/systemId", JsonValue::string("test")}}),
         KLB_ToggleFileType_Supported, "ErrorSystemIdDoesNotMatch in file: " + path},
        {"system of another kind",
         documentFile(path, {{"/header/systemId", JsonValue::literal("12")}}),
         KLB_ToggleFileType_Supported, "ErrorSystemIdMustBeString in file: " + path},
        {"no system", documentFile(path, {{"/header", JsonValue::object()}}),
         KLB_ToggleFileType_Supported, "ErrorSystemIdMustBeString in file: " + path},
        {"no header object", documentFile(path, {{"/header", JsonValue::literal("[]")}}),
         KLB_ToggleFileType_Supported, "ErrorHeaderRootMustBeObject in file: " + path},
        {"damaged", damagedFile(path, "{\"a\":true,", "ParseErrorObjectMissName", 10),
         KLB_ToggleFileType_Supported,
         "ParseErrorObjectMissName in file: " + path + " at offset: 10"},
        {"too small", damagedFile(path, "{\"\":true}", "", 0), KLB_ToggleFileType_Unsupported,
         "FileTooSmall in file: " + path},
        {"no document", damagedFile(path, " {\"a\":true}", "", 0), KLB_ToggleFileType_Supported,
         ""},
        {"elsewhere", documentFile("S:\\x.json", fitting), KLB_ToggleFileType_Supported, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        StartedModel model({c.file}, "Test");
        model->registerToggleFile(c.type, "t", "x.json");
        EXPECT_EQ(model.takeMessages(), c.reported.empty()
                                            ? Messages{}
                                            : Messages{error("registerToggleFile: " + c.reported)});
        model->registerToggleFile(c.type, "t", "x.json");
        EXPECT_EQ(model.takeMessages(), Messages{});
        model->registerToggle("/a", false, "t");
        EXPECT_EQ(model->getToggle("/a"), std::string(c.name).starts_with("fitting"));
    }
}

TEST(ModelledToggleFiles, OfATokenFirstNamedByAToggleAreReadAsProtected) {
    StartedModel model({documentFile("S:\\support\\x.json", {{"/a", kTrue}})});
    model->registerToggle("/a", false, "t");
    model->registerToggleFile(KLB_ToggleFileType_Supported, "t", "x.json");
    EXPECT_EQ(model.takeMessages(),
              Messages{error("registerToggleFile: error reading input file\n in file: "
                             "S:\\support\\x.json")});
}

TEST(ModelledOverrideFile, GivesWayToAFileThatTheHostRegisteredInItsPlace) {
    StartedModel model({documentFile("S:\\support\\mine.json", {{"/a", kTrue}})}, "TestSystem",
                       true);
    model->registerToggleFile(KLB_ToggleFileType_Supported, "cit.feature.overrides", "mine.json");
    model->registerToggle("/a", false, "t");
    model->registerToggle("/b", false, "t");
    EXPECT_EQ(model.takeMessages(),
              Messages{error("registerToggleFile: toggle file path location as already been set to "
                             "'S:\\support\\mine.json'")});
    EXPECT_EQ(model->overrideInfoString(),
              "cit.feature.overrides : S:\\support\\mine.json\n/a : true\n");
}

TEST(ModelledMessages, NameTheFirstThingThatIsWrong) {
    const Surroundings surroundings;
    MessageRecorder recorder;
    LibraryModel model(surroundings);
    model.initMessageProc(&MessageRecorder::record);
    const KLB_ToggleFileType plain = KLB_ToggleFileType_Supported;
    const auto expectError = [&](const std::string& text) {
        EXPECT_EQ(recorder.take(), Messages{error(text)});
    };

    model.init(nullptr, true);
    expectError("KLB_Init: sysID must not be NULL.");
    model.setOverridePath(nullptr);
    expectError("KLB_SetOverridePath: KLB_Init must be called first.");
    model.addToggleComment(nullptr, nullptr);
    expectError("KLB_AddToggleComment: KLB_Init must be called first.");
    model.registerToggleFile(KLB_ToggleFileType_Invalid, nullptr, nullptr);
    expectError("KLB_RegisterToggleFile: KLB_Init must be called first.");
    EXPECT_FALSE(model.getToggle(nullptr));
    expectError("KLB_RegisterToggleFile: KLB_Init must be called first.");
    EXPECT_EQ(model.getDefaultToggleJson("", "", nullptr, 0), 0U);
    EXPECT_EQ(model.getOverrideInfoString(nullptr, 0), 0U);
    EXPECT_EQ(recorder.take(), Messages{});

    model.init("TestSystem", false);
    EXPECT_THROW(model.setOverridePath(nullptr), std::invalid_argument);
    EXPECT_THROW(model.setOverridePath(""), std::invalid_argument);
    model.setOverridePath("D:\\cfg");
    EXPECT_EQ(recorder.take(), Messages{});
    model.setOverridePath("D:\\cfg");
    expectError("setOverridePath: override path has already been set.");

    model.registerToggleFile(KLB_ToggleFileType_Invalid, nullptr, nullptr);
    expectError("registerToggleFile: toggleFileType is an unknown toggle file type.");
    model.registerToggleFile(plain, nullptr, nullptr);
    expectError("registerToggleFile: toggleFileToken cannot be NULL.");
    model.registerToggleFile(plain, "t", nullptr);
    expectError("registerToggleFile: toggleFile cannot be NULL.");
    model.registerToggleFile(plain, "t", "");
    expectError("registerToggleFile: toggleFile cannot be empty.");

    model.registerToggle(nullptr, false, nullptr);
    expectError("registerToggle: toggleKey cannot be NULL.");
    model.registerToggle("/a", false, nullptr);
    expectError("registerToggle: toggleFileToken cannot be NULL.");
    EXPECT_EQ(model.defaultToggleJson(nullptr, nullptr), "{}");

    model.registerToggle("/a", false, "t");
    model.registerToggle("/a", true, "t");
    EXPECT_EQ(recorder.take(), Messages{});
    model.registerDynamicToggle("/a", false, "u");
    expectError("registerToggle: /a already registred in ");
    EXPECT_FALSE(model.getDynamicToggle("/a"));
    expectError("getToggle: key is is immutable after initialization.");
    model.setDynamicToggle("/a", true);
    expectError("setDynamicToggle: key was not registered as a mutable so it cannot be changed "
                "after initialization.");
    model.registerDynamicToggle("/b", false, "u");
    EXPECT_FALSE(model.getToggle("/b"));
    expectError("getToggle: key is a mutable.");
    EXPECT_FALSE(model.getToggle("/c"));
    EXPECT_EQ(recorder.take(),
              Messages{warning("getToggle: key, /c, was not registered. Returning false.")});
    EXPECT_FALSE(model.getToggle("c"));
    expectError("getToggle: key must start with '/' character.");

    model.addToggleComment(nullptr, nullptr);
    expectError("addToggleProperty: toggleKey cannot be NULL.");
    model.addToggleComment("", nullptr);
    expectError("addToggleProperty: key cannot be an empty string.");
    model.addToggleComment("c", nullptr);
    expectError("addToggleProperty: key must start with '/' character.");
    model.addToggleComment("/c", nullptr);
    expectError("addToggleProperty: propertyValue cannot be NULL.");
    model.addToggleComment("/c", "");
    expectError("addToggleProperty: key, /c, was not registered. Please call RegisterToggle "
                "first.");

    model.term();
    model.init("TestSystem", false);
    model.registerToggle("/a", false, "t");
    model.setOverridePath("D:\\cfg");
    expectError("setOverridePath: must be called before any registration routines.");
}

} // namespace

} // namespace klb::test
