#include "error_mode.h"
#include "library_session.h"
#include "report_helpers.h"
#include "sessions.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

const char* const kNoFilesShown = R"({
    "KLB_ToggleFiles": {}
})";

/// The same with toggles that have no place in the tree.
const char* const kNoFilesAndNoTogglesShown = R"({
    "KLB_ToggleFiles": {},
    "KLB_Toggles": {}
})";

/// The report of one file of supported features and of nothing else; token and file are given as
/// they stand in JSON.
std::string reportOfOneFile(const std::string& token, const std::string& file) {
    return R"({
    "KLB_ToggleFiles": {
        ")" +
           token +
           R"(": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": ")" +
           file + R"("
        }
    }
})";
}

TEST(GetDefaultToggleJsonFiles, StandInTheOrderInWhichTheirTokensWereFirstNamed) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([] {
            registerPlainFile("zeta", "klb-no-such\\1.json");
            KLB_RegisterToggle("", true, "implicit");
            KLB_RegisterToggleFile(typeOf(1), "Alpha", "klb-no-such\\2.json");
            KLB_RegisterToggleFile(KLB_ToggleFileType_Override, "mine", "klb-no-such\\3.json");
            registerPlainFile("", "klb-no-such\\4.json");
            KLB_RegisterToggleFile(typeOf(9), "alpha", "klb-no-such\\5.json");
            registerPlainFile("zeta", "klb-no-such\\1.json");
            EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {
        "zeta": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\1.json"
        },
        "Alpha": {
            "KLB_ToggleFileType": "KLB_UnsupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\2.json"
        },
        "": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\4.json"
        },
        "alpha": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\5.json"
        }
    },
    "KLB_Toggles": {}
})");
        });
    });
}

TEST(GetDefaultToggleJsonFiles, OnlyTypeOneIsUnsupportedAndOnlyTheOverrideTypeIsLeftOut) {
    const std::string unsupported = R"({
    "KLB_ToggleFiles": {
        "token": {
            "KLB_ToggleFileType": "KLB_UnsupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\file.json"
        }
    }
})";
    const std::string supported = reportOfOneFile("token", R"(klb-no-such\\file.json)");
    const struct {
        int type;
        std::string report;
    } cases[] = {
        {1, unsupported},
        {2, supported},
        {3, supported},
        {9, supported},
        {-1, supported},
        {std::numeric_limits<int>::min(), supported},
        {std::numeric_limits<int>::max() - 1, supported},
        {std::numeric_limits<int>::max(), kNoFilesShown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        const LibrarySession library;
        KLB_RegisterToggleFile(typeOf(c.type), "token", "klb-no-such\\file.json");
        EXPECT_EQ(defaultToggleJson(), c.report);
    }
}

TEST(GetDefaultToggleJsonFiles, AreNamedAsTheHostNamedThem) {
    const SupportDirectory support;
    const struct {
        const char* name;
        std::string file;
        std::string shown;
    } cases[] = {
        {"bare name", "core.json", "core.json"},
        {"slash inside", "sub/../core.json", "sub/../core.json"},
        {"drive and slashes", "C:/klb-no-such/core.json", "C:/klb-no-such/core.json"},
        {"drive and backslashes", "C:\\klb-no-such\\core.json", R"(C:\\klb-no-such\\core.json)"},
        {"two dots", "klb-no-such\\..\\.\\core.json", R"(klb-no-such\\..\\.\\core.json)"},
        {"reference", "%PROGRAMDATA%\\core.json", R"(%PROGRAMDATA%\\core.json)"},
        {"full path", support.pathOf("core.json"), inJson(support.pathOf("core.json"))},
        {"spaces", " core .json ", " core .json "},
        {"quotes", "klb-no-such\\\"core\".json", R"(klb-no-such\\\"core\".json)"},
        {"control characters", "klb-no-such\\\x01\n\x1F.json",
         R"(klb-no-such\\\u0001\n\u001F.json)"},
        {"UTF-8", "caf\xC3\xA9.json", "caf\xC3\xA9.json"},
        {"not UTF-8", "caf\xE9\xFF.json", "caf\xE9\xFF.json"},
        {"long", std::string(5000, 'x'), std::string(5000, 'x')},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectSilence([&] { registerPlainFile("token", c.file); });
            EXPECT_EQ(defaultToggleJson(), reportOfOneFile("token", c.shown));
        });
    }
}

TEST(GetDefaultToggleJsonFiles, KeepTheNameOfTheFirstCallForTheSamePath) {
    const SupportDirectory support;
    const std::string path = support.pathOf("core.json");
    inBothErrorModes([&](ErrorObserver& observer) {
        {
            const LibrarySession library;
            observer.expectSilence([&] {
                registerPlainFile("token", "core.json");
                registerPlainFile("token", path);
            });
            EXPECT_EQ(defaultToggleJson(), reportOfOneFile("token", "core.json"));
        }
        const LibrarySession library;
        observer.expectSilence([&] {
            registerPlainFile("token", path);
            registerPlainFile("token", "core.json");
        });
        EXPECT_EQ(defaultToggleJson(), reportOfOneFile("token", inJson(path)));
    });
}

TEST(GetDefaultToggleJsonFiles, KeepTheFirstFileAndTypeOfTheirToken) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        registerPlainFile("token", "klb-no-such\\first.json");
        observer.expectSilence([] {
            KLB_RegisterToggleFile(typeOf(1), "token", "klb-no-such\\first.json");
            KLB_RegisterToggleFile(KLB_ToggleFileType_Override, "token", "klb-no-such\\first.json");
        });
        observer.expectError<std::domain_error>(otherFileText("klb-no-such\\first.json"), [] {
            KLB_RegisterToggleFile(typeOf(1), "token", "klb-no-such\\second.json");
        });
        EXPECT_EQ(defaultToggleJson(), reportOfOneFile("token", R"(klb-no-such\\first.json)"));
    });
}

TEST(GetDefaultToggleJsonFiles, TokenRefusedItsFileHasAnEmptyNameUntilItGetsOne) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggleFile(KLB_ToggleFileType_Override, "owner", "klb-no-such\\taken.json");
        observer.expectError<std::domain_error>(ownedFileText("second"), [] {
            registerPlainFile("second", "klb-no-such\\taken.json");
        });
        EXPECT_EQ(defaultToggleJson(), reportOfOneFile("second", ""));
        // The type is the one of the refused call.
        observer.expectSilence(
            [] { KLB_RegisterToggleFile(typeOf(1), "second", "klb-no-such\\own.json"); });
        EXPECT_EQ(defaultToggleJson(), reportOfOneFile("second", R"(klb-no-such\\own.json)"));
    });
}

TEST(GetDefaultToggleJsonFiles, BadArgumentsLeaveNothingToShow) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        const struct {
            int type;
            const char* token;
            const char* file;
            const char* text;
        } cases[] = {
            {0, "token", "f.json",
             "registerToggleFile: toggleFileType is an unknown toggle file type."},
            {2, nullptr, "f.json", "registerToggleFile: toggleFileToken cannot be NULL."},
            {2, "token", nullptr, "registerToggleFile: toggleFile cannot be NULL."},
            {2, "token", "", "registerToggleFile: toggleFile cannot be empty."},
        };
        for (const auto& c : cases) {
            observer.expectError<std::invalid_argument>(
                c.text, [&] { KLB_RegisterToggleFile(typeOf(c.type), c.token, c.file); });
        }
        observer.expectError<std::invalid_argument>(
            "registerToggle: toggleFileToken cannot be NULL.",
            [] { KLB_RegisterToggle("/a", true, nullptr); });
        EXPECT_EQ(defaultToggleJson(), "{}");
    });
}

TEST(GetDefaultToggleJsonFiles, ThatCannotBeUsedAreShownLikeAnyOther) {
    const TempDirectory directory;
    const struct {
        const char* name;
        std::string path;
    } cases[] = {
        {"missing", directory.pathOf("missing.json")},
        {"directory", directory.makeDirectory("directory")},
        {"too small", directory.write("small.json", "{}")},
        {"damaged", directory.write("damaged.json", "{\"a\":true,")},
        {"another system's", directory.write("other.json", documentFor("Other", "\"a\":true"))},
        {"not plain", directory.write("blank.json", " " + featuresFile("\"a\":true"))},
        {"usable", directory.write("usable.json", featuresFile("\"a\":true"))},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const MessageRecorder ignored;
        const LibrarySession library;
        registerPlainFile("token", c.path);
        EXPECT_EQ(defaultToggleJson(), reportOfOneFile("token", inJson(c.path)));
    }
}

TEST(GetDefaultToggleJsonFiles, TokenIsAnyText) {
    const struct {
        const char* token;
        const char* shown;
    } cases[] = {
        {"", ""},
        {" ", " "},
        {"app.features.v1", "app.features.v1"},
        {"a/b", "a/b"},
        {"\"quoted\\", R"(\"quoted\\)"},
        {"two\nlines\t\x1F\x7F", "two\\nlines\\t\\u001F\x7F"},
        {"caf\xC3\xA9\xE6\x97\xA5", "caf\xC3\xA9\xE6\x97\xA5"},
        {"\xE9\xFF", "\xE9\xFF"},
        {"KLB_ToggleFileType", "KLB_ToggleFileType"},
        {"CIT.FEATURE.OVERRIDES", "CIT.FEATURE.OVERRIDES"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.token);
        const LibrarySession library;
        registerPlainFile(c.token, "klb-no-such\\file.json");
        EXPECT_EQ(defaultToggleJson(), reportOfOneFile(c.shown, R"(klb-no-such\\file.json)"));
    }
}

TEST(GetDefaultToggleJsonFiles, TokensFirstNamedByAToggleAreNeverShown) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("", true, "core");
        EXPECT_EQ(defaultToggleJson(), kNoFilesAndNoTogglesShown);
        // The type of the token stays the one that it was first named with.
        observer.expectSilence([] { registerPlainFile("core", "klb-no-such\\core.json"); });
        EXPECT_EQ(defaultToggleJson(), kNoFilesAndNoTogglesShown);
        observer.expectError<std::domain_error>(
            "registerToggle:  already registred in klb-no-such\\core.json",
            [] { KLB_RegisterDynamicToggle("", true, "second"); });
        observer.expectSilence([] { registerPlainFile("second", "klb-no-such\\second.json"); });
        EXPECT_EQ(defaultToggleJson(), kNoFilesAndNoTogglesShown);
    });
}

TEST(GetDefaultToggleJsonFiles, OverrideFileIsNotShown) {
    for (const bool present : {false, true}) {
        SCOPED_TRACE(present ? "present" : "missing");
        const TempDirectory directory;
        if (present) {
            directory.write(kOverrideFile, documentWith(R"("a":true)"));
        }
        inBothErrorModes([&](ErrorObserver& observer) {
            const OverridingSession session(directory);
            observer.expectSilence([] { KLB_RegisterToggle("", true, kOverrideToken); });
            EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));
            EXPECT_EQ(defaultToggleJson(), kNoFilesAndNoTogglesShown);
        });
    }
}

TEST(GetDefaultToggleJsonFiles, OverrideFileAloneLeavesThemEmpty) {
    const TempDirectory directory;
    directory.write(kOverrideFile, "{\"a\":true,");
    const OverridingSession session(directory);
    EXPECT_EQ(defaultToggleJson(), "{}");
    // Thrown, the load error stops the toggle after the override file got its token.
    EXPECT_THROW(KLB_RegisterToggle("/a", true, "core"), std::domain_error);
    EXPECT_EQ(defaultToggleJson(), kNoFilesShown);
}

TEST(GetDefaultToggleJsonFiles, HostsOwnFileUnderTheReservedTokenIsShownByItsType) {
    const std::string shown = R"({
    "KLB_ToggleFiles": {
        "cit.feature.overrides": {
            "KLB_ToggleFileType": "KLB_SupportedFeatures",
            "KLB_ToggleFile": "klb-no-such\\own.json"
        }
    },
    "KLB_Toggles": {}
})";
    const TempDirectory directory;
    for (const bool enableOverride : {false, true}) {
        SCOPED_TRACE(enableOverride ? "overrides enabled" : "overrides disabled");
        for (const KLB_ToggleFileType type :
             {KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override}) {
            SCOPED_TRACE(static_cast<int>(type));
            const MessageRecorder ignored;
            const LibrarySession library("TestSystem", enableOverride);
            KLB_SetOverridePath(directory.path().c_str());
            KLB_RegisterToggleFile(type, kOverrideToken, "klb-no-such\\own.json");
            KLB_RegisterToggle("", true, "core");
            EXPECT_EQ(defaultToggleJson(),
                      type == KLB_ToggleFileType_Override ? kNoFilesAndNoTogglesShown : shown);
        }
    }
}

} // namespace

} // namespace klb::test
