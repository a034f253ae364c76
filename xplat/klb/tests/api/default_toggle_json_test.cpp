#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "report_helpers.h"
#include "sessions.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

/// The report of one static toggle that bears its token's name, and nothing else but these toggle
/// files, given as the JSON text of the member's value.
std::string reportOfOneToggle(const std::string& name, bool defaultValue,
                              const std::string& files) {
    return R"({
    "KLB_ToggleFiles": )" +
           files + R"(,
    "KLB_Toggles": {
        ")" +
           name +
           R"(": {
            "KLB_DefaultValue": )" +
           (defaultValue ? "true" : "false") + R"(,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": ")" +
           name + R"("
        }
    }
})";
}

TEST(GetDefaultToggleJson, NothingRegisteredIsAnEmptyObject) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([] {
            EXPECT_EQ(KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0), 3U);
            EXPECT_EQ(defaultToggleJson(), "{}");
        });
        EXPECT_TRUE(lockIsFree());
    });
}

TEST(GetDefaultToggleJson, ModuleNameAndVersionStandFirstUnlessNull) {
    const struct {
        const char* name;
        const char* version;
        const char* members;
    } cases[] = {
        {nullptr, nullptr, ""},
        {"Player", nullptr, R"(
    "KLB_ModuleName": "Player",)"},
        {nullptr, "1.2", R"(
    "KLB_ModuleVersion": "1.2",)"},
        {"Player", "1.2", R"(
    "KLB_ModuleName": "Player",
    "KLB_ModuleVersion": "1.2",)"},
        {"", "", R"(
    "KLB_ModuleName": "",
    "KLB_ModuleVersion": "",)"},
        {"", nullptr, R"(
    "KLB_ModuleName": "",)"},
        {nullptr, "", R"(
    "KLB_ModuleVersion": "",)"},
        {"KLB_ModuleVersion", "KLB_Toggles", R"(
    "KLB_ModuleName": "KLB_ModuleVersion",
    "KLB_ModuleVersion": "KLB_Toggles",)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.name ? c.name : "null") + ", " +
                     (c.version ? c.version : "null"));
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            KLB_RegisterToggle("", true, "core");
            observer.expectSilence([&] {
                EXPECT_EQ(defaultToggleJson(c.name, c.version), "{" + std::string(c.members) + R"(
    "KLB_ToggleFiles": {},
    "KLB_Toggles": {}
})");
            });
        });
    }
}

TEST(GetDefaultToggleJson, ModuleNameAndVersionNeedNothingRegistered) {
    const LibrarySession library;
    EXPECT_EQ(defaultToggleJson("Player", "1.2"), R"({
    "KLB_ModuleName": "Player",
    "KLB_ModuleVersion": "1.2"
})");
    EXPECT_EQ(defaultToggleJson("Player"), R"({
    "KLB_ModuleName": "Player"
})");
    EXPECT_EQ(defaultToggleJson(nullptr, ""), R"({
    "KLB_ModuleVersion": ""
})");
}

TEST(GetDefaultToggleJson, ModuleNameAndVersionAreAnyText) {
    const struct {
        const char* text;
        const char* shown;
    } cases[] = {
        {"\"Player\" & C:\\bin/player", R"(\"Player\" & C:\\bin/player)"},
        {"\x01\x02\x03\x04\x05\x06\x07\b\t\n\x0B\f\r\x0E\x0F",
         R"(\u0001\u0002\u0003\u0004\u0005\u0006\u0007\b\t\n\u000B\f\r\u000E\u000F)"},
        {"\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F",
         R"(\u0010\u0011\u0012\u0013\u0014\u0015\u0016\u0017)"
         R"(\u0018\u0019\u001A\u001B\u001C\u001D\u001E\u001F)"},
        {" !#$%&'()*+,-./:;<=>?@[]^_`{|}~\x7F", " !#$%&'()*+,-./:;<=>?@[]^_`{|}~\x7F"},
        {"caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x94\x91", "caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x94\x91"},
        {"\x80\xBF\xC0\xE9\xED\xA0\x80\xFE\xFF", "\x80\xBF\xC0\xE9\xED\xA0\x80\xFE\xFF"},
    };
    const LibrarySession library;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shown);
        EXPECT_EQ(defaultToggleJson(c.text, c.text), R"({
    "KLB_ModuleName": ")" + std::string(c.shown) +
                                                         R"(",
    "KLB_ModuleVersion": ")" + c.shown + R"("
})");
    }
}

TEST(GetDefaultToggleJson, DescribesFilesAndToggles) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        registerPlainFile("app.features", "klb-no-such\\app.json");
        KLB_RegisterDynamicToggle("/editor/fastPath", false, "app.features");
        KLB_RegisterToggle("/beta", true, "app.features");
        KLB_AddToggleComment("/editor/fastPath", "Renders \"previews\" first.");
        observer.expectSilence([] {
            EXPECT_EQ(defaultToggleJson("Editor", "2024.1"), R"({
    "KLB_ModuleName": "Editor",
    "KLB_ModuleVersion": "2024.1",
    "KLB_ToggleFiles": {
        "app.features": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\app.json"
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
                "KLB_ToggleComment": "Renders \"previews\" first."
            }
        }
    }
})");
        });
        EXPECT_TRUE(lockIsFree());
    });
}

TEST(GetDefaultToggleJson, FilesAloneHaveNoToggles) {
    const LibrarySession library;
    registerPlainFile("core", "klb-no-such\\core.json");
    EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {
        "core": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\core.json"
        }
    }
})");
}

TEST(GetDefaultToggleJson, DefaultIsTheHostsWhateverSetsTheValue) {
    const TempDirectory directory;
    const std::string path =
        directory.write("core.json", featuresFile(R"("file":true,"both":true,"set":true)"));
    directory.write(kOverrideFile, documentWith(R"("both":false,"override":true)"));
    const OverridingSession session(directory);
    registerPlainFile("core", path);
    for (const char* key : {"/both", "/file", "/override", "/set"}) {
        KLB_RegisterDynamicToggle(key, false, "core");
    }
    KLB_SetDynamicToggle("/set", true);
    KLB_SetDynamicToggle("/both", true);
    const auto entry = [](const std::string& name) {
        return "\n        \"" + name + R"(": {
            "KLB_DefaultValue": false,
            "KLB_IsDynamic": true,
            "KLB_ToggleFileToken": "core"
        })";
    };
    EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {
        "core": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": ")" + inJson(path) +
                                       R"("
        }
    },
    "KLB_Toggles": {)" + entry("both") +
                                       "," + entry("file") + "," + entry("override") + "," +
                                       entry("set") + R"(
    }
})");
}

TEST(GetDefaultToggleJson, IsTheSameTextEveryTime) {
    const LibrarySession library;
    registerPlainFile("core", "klb-no-such\\core.json");
    KLB_RegisterToggle("/a", true, "core");
    KLB_RegisterToggle("/a/b", true, "core");
    KLB_AddToggleComment("/a", "comment");
    const std::string named = defaultToggleJson("Player", "1.2");
    const std::string unnamed = defaultToggleJson();
    EXPECT_EQ(named, R"({
    "KLB_ModuleName": "Player",
    "KLB_ModuleVersion": "1.2",)" +
                         unnamed.substr(1));
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(defaultToggleJson("Player", "1.2"), named);
        EXPECT_EQ(defaultToggleJson(), unnamed);
    }
}

TEST(GetDefaultToggleJson, ShowsWhatWasAddedSince) {
    const LibrarySession library;
    EXPECT_EQ(defaultToggleJson(), "{}");
    KLB_RegisterToggle("/a", true, "a");
    EXPECT_EQ(defaultToggleJson(), reportOfOneToggle("a", true, "{}"));
    registerPlainFile("b", "klb-no-such\\b.json");
    EXPECT_EQ(defaultToggleJson(), reportOfOneToggle("a", true, R"({
        "b": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\b.json"
        }
    })"));
    KLB_RegisterDynamicToggle("/a/b", false, "b");
    KLB_AddToggleComment("/a", "late");
    EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {
        "b": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\b.json"
        }
    },
    "KLB_Toggles": {
        "a": {
            "KLB_DefaultValue": true,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": "a",
            "KLB_ToggleComment": "late",
            "b": {
                "KLB_DefaultValue": false,
                "KLB_IsDynamic": true,
                "KLB_ToggleFileToken": "b"
            }
        }
    }
})");
}

TEST(GetDefaultToggleJson, StartsAnewInTheNextSession) {
    for (const char* name : {"first", "second"}) {
        SCOPED_TRACE(name);
        const LibrarySession library;
        EXPECT_EQ(defaultToggleJson(), "{}");
        KLB_RegisterToggle(("/" + std::string(name)).c_str(), true, name);
        EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(name, true, "{}"));
    }
}

TEST(GetDefaultToggleJson, RegistersNothing) {
    const TempDirectory directory;
    directory.write(kOverrideFile, documentWith(R"("a":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("TestSystem", true);
        observer.expectSilence([&] {
            EXPECT_EQ(defaultToggleJson(), "{}");
            EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
            // Accepted only while nothing is registered.
            KLB_SetOverridePath(directory.path().c_str());
            EXPECT_TRUE(registeredValue("/a", false, "core"));
        });
    });
}

} // namespace

} // namespace klb::test
