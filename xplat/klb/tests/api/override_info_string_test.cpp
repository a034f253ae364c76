#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "report_helpers.h"
#include "sessions.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

TEST(GetOverrideInfoString, NothingThatDiffersIsAnEmptyText) {
    const TempDirectory directory;
    const std::string equal =
        directory.write("equal.json", featuresFile(R"("on":true,"off":false)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            EXPECT_EQ(overrideInfo(), "");
            registerPlainFile("equal", equal);
            registerPlainFile("missing", directory.pathOf("missing.json"));
            EXPECT_EQ(overrideInfo(), "");
            KLB_RegisterToggle("/on", true, "equal");
            KLB_RegisterDynamicToggle("/off", false, "equal");
            KLB_RegisterToggle("/absent", true, "equal");
            KLB_RegisterToggle("/inNoFile", true, "missing");
            KLB_RegisterToggle("/withoutAFile", true, "no file");
            KLB_RegisterToggle("on", false, "equal");
            KLB_RegisterToggle("", true, "equal");
            EXPECT_EQ(overrideInfo(), "");
        });
        EXPECT_TRUE(lockIsFree());
    });
}

TEST(GetOverrideInfoString, NamesTheFileAndThenItsToggles) {
    const TempDirectory directory;
    const std::string file = directory.write(
        "editor.json", featuresFile(R"("editor":{"newTimeline":true,"old":false})"));
    const std::string overrideFile =
        directory.write(kOverrideFile, documentWith(R"("net":{"fastSync":false})"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        observer.expectSilence([&] {
            registerPlainFile("editor", file);
            KLB_RegisterToggle("/editor/newTimeline", false, "editor");
            KLB_RegisterToggle("/editor/old", true, "editor");
            KLB_RegisterToggle("/editor/absent", true, "editor");
            KLB_RegisterToggle("/net/fastSync", true, "editor");
            EXPECT_EQ(overrideInfo(), "cit.feature.overrides : " + overrideFile +
                                          "\n"
                                          "/net/fastSync : false\n"
                                          "editor : " +
                                          file +
                                          "\n"
                                          "/editor/newTimeline : true\n"
                                          "/editor/old : false\n");
        });
        EXPECT_TRUE(lockIsFree());
    });
}

TEST(GetOverrideInfoString, TogglesStandInTheByteOrderOfTheirKeys) {
    const TempDirectory directory;
    const std::string path = directory.write(
        "core.json", featuresFile("\"\":true,\" \":true,\"10\":true,\"2\":true,\"B\":true,"
                                  "\"a\":{\"b\":true},\"a-b\":true,\"a.b\":true,\"ab\":true,"
                                  "\"\x7F\":true,\"caf\xC3\xA9\":true,\"\xC3\xA9\":true,"
                                  "\"\xFF\":true"));
    std::vector<const char*> keys = {"/ab",   "/\xFF",     "/",           "/a.b", "/2",
                                     "/a/b",  "/B",        "/a-b",        "/10",  "/ ",
                                     "/\x7F", "/\xC3\xA9", "/caf\xC3\xA9"};
    for (const bool reversed : {false, true}) {
        SCOPED_TRACE(reversed ? "last key first" : "first key first");
        const LibrarySession library;
        registerPlainFile("core", path);
        for (const char* key : keys) {
            KLB_RegisterToggle(key, false, "core");
        }
        EXPECT_EQ(overrideInfo(), "core : " + path +
                                      "\n"
                                      "/ : true\n"
                                      "/  : true\n"
                                      "/10 : true\n"
                                      "/2 : true\n"
                                      "/B : true\n"
                                      "/a-b : true\n"
                                      "/a.b : true\n"
                                      "/a/b : true\n"
                                      "/ab : true\n"
                                      "/caf\xC3\xA9 : true\n"
                                      "/\x7F : true\n"
                                      "/\xC3\xA9 : true\n"
                                      "/\xFF : true\n");
        std::reverse(keys.begin(), keys.end());
    }
}

TEST(GetOverrideInfoString, FilesStandInTheByteOrderOfTheirTokens) {
    const std::vector<std::string> tokens = {
        "",
        " ",
        "10",
        "2",
        "CIT.FEATURE.OVERRIDES",
        "a",
        "cit.feature.override",
        kOverrideToken,
        "cit.feature.overrides ",
        "cit.feature.overrides.more",
        "cit.feature.overridesA",
        "d",
        "\xC3\xA9",
        "\xFF",
    };
    const TempDirectory directory;
    std::vector<std::string> paths;
    std::string expected;
    for (const std::string& token : tokens) {
        const std::string name = "k" + std::to_string(paths.size());
        const bool isOverride = token == kOverrideToken;
        paths.push_back(isOverride
                            ? directory.write(kOverrideFile, documentWith("\"" + name + "\":true"))
                            : directory.write(name, featuresFile("\"" + name + "\":true")));
        expected += token + " : " + paths.back() + "\n/" + name + " : true\n";
    }
    for (const bool reversed : {false, true}) {
        SCOPED_TRACE(reversed ? "last token first" : "first token first");
        const OverridingSession session(directory);
        for (std::size_t step = 0; step < tokens.size(); ++step) {
            const std::size_t index = reversed ? tokens.size() - 1 - step : step;
            const std::string key = "/k" + std::to_string(index);
            if (tokens[index] == kOverrideToken) {
                KLB_RegisterToggle(key.c_str(), false, "a token without a file");
            } else {
                registerPlainFile(tokens[index].c_str(), paths[index]);
                KLB_RegisterToggle(key.c_str(), false, tokens[index].c_str());
            }
        }
        EXPECT_EQ(overrideInfo(), expected);
    }
}

TEST(GetOverrideInfoString, ListsAToggleUnderTheFileThatSetItLast) {
    const TempDirectory directory;
    const std::string file = directory.write(
        "core.json", featuresFile(R"("fileOff":false,"fileOn":true,)"
                                  R"("bothOff":false,"bothOn":true,"offOn":false,"onOff":true)"));
    const std::string overrideFile = directory.write(
        kOverrideFile, documentWith(R"("overrideOff":false,"overrideOn":true,)"
                                    R"("bothOff":false,"bothOn":true,"offOn":true,"onOff":false)"));
    // What stood between the default and the value of the override file counts, too: /onOff with
    // the default false and /offOn with the default true have their defaults again.
    const struct {
        bool defaultValue;
        const char* overrideLines;
        const char* fileLines;
    } cases[] = {
        {false, "/bothOn : true\n/offOn : true\n/onOff : false\n/overrideOn : true\n",
         "/fileOn : true\n"},
        {true, "/bothOff : false\n/offOn : true\n/onOff : false\n/overrideOff : false\n",
         "/fileOff : false\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.defaultValue ? "default true" : "default false");
        for (const ToggleKind* kind : kBothKinds) {
            SCOPED_TRACE(kind->name);
            const OverridingSession session(directory);
            registerPlainFile("core", file);
            for (const char* key : {"/bothOff", "/bothOn", "/fileOff", "/fileOn", "/nowhere",
                                    "/offOn", "/onOff", "/overrideOff", "/overrideOn"}) {
                kind->registerToggle(key, c.defaultValue, "core");
            }
            EXPECT_EQ(overrideInfo(), "cit.feature.overrides : " + overrideFile + "\n" +
                                          c.overrideLines + "core : " + file + "\n" + c.fileLines);
        }
    }
}

TEST(GetOverrideInfoString, FileWhoseTogglesWereAllOverriddenIsNotNamed) {
    const TempDirectory directory;
    const std::string file = directory.write("core.json", featuresFile(R"("a":true,"b":true)"));
    const std::string overrideFile =
        directory.write(kOverrideFile, documentWith(R"("a":true,"b":false)"));
    const OverridingSession session(directory);
    registerPlainFile("core", file);
    KLB_RegisterToggle("/a", false, "core");
    KLB_RegisterToggle("/b", false, "core");
    EXPECT_EQ(overrideInfo(),
              "cit.feature.overrides : " + overrideFile + "\n/a : true\n/b : false\n");
}

TEST(GetOverrideInfoString, ListedDynamicToggleShowsItsValueOfNow) {
    const TempDirectory directory;
    const std::string file = directory.write("core.json", featuresFile(R"("file":true)"));
    const std::string overrideFile =
        directory.write(kOverrideFile, documentWith(R"("override":false)"));
    const auto expected = [&](const std::string& ofOverride, const std::string& ofFile) {
        return "cit.feature.overrides : " + overrideFile + "\n/override : " + ofOverride +
               "\ncore : " + file + "\n/file : " + ofFile + "\n";
    };
    const OverridingSession session(directory);
    registerPlainFile("core", file);
    KLB_RegisterDynamicToggle("/file", false, "core");
    KLB_RegisterDynamicToggle("/override", true, "core");
    EXPECT_EQ(overrideInfo(), expected("false", "true"));
    KLB_SetDynamicToggle("/file", false);
    EXPECT_EQ(overrideInfo(), expected("false", "false"));
    // Set by the host it stays listed under the override file, its default included.
    KLB_SetDynamicToggle("/override", true);
    EXPECT_EQ(overrideInfo(), expected("true", "false"));
    KLB_SetDynamicToggle("/override", false);
    KLB_SetDynamicToggle("/file", true);
    EXPECT_EQ(overrideInfo(), expected("false", "true"));
    KLB_RegisterDynamicToggle("/file", true, "core");
    KLB_RegisterDynamicToggle("/override", false, "core");
    EXPECT_EQ(overrideInfo(), expected("false", "true"));
}

TEST(GetOverrideInfoString, DynamicToggleThatOnlyTheHostChangedIsNotListed) {
    const TempDirectory directory;
    const std::string file = directory.write("core.json", featuresFile(R"("same":true,"on":true)"));
    const LibrarySession library;
    registerPlainFile("core", file);
    KLB_RegisterDynamicToggle("/same", true, "core");
    KLB_RegisterDynamicToggle("/absent", true, "core");
    KLB_RegisterDynamicToggle("/withoutAFile", true, "no file");
    const auto changeAll = [] {
        for (const char* key : {"/same", "/absent", "/withoutAFile"}) {
            KLB_SetDynamicToggle(key, false);
        }
    };
    changeAll();
    EXPECT_EQ(overrideInfo(), "");
    // Neither another listed toggle nor a repeated registration brings them in.
    KLB_RegisterToggle("/on", false, "core");
    KLB_RegisterDynamicToggle("/same", true, "core");
    changeAll();
    EXPECT_EQ(overrideInfo(), "core : " + file + "\n/on : true\n");
}

TEST(GetOverrideInfoString, NamesThePathThatTheFileWasReadFrom) {
    const SupportDirectory support;
    const TempDirectory elsewhere;
    elsewhere.write("here.json", featuresFile(R"("here":true)"));
    const WorkingDirectory current(elsewhere.path());
    const std::string bare = support.write("bare.json", featuresFile(R"("bare":true)"));
    const LibrarySession library;
    registerPlainFile("bare", "bare.json");
    registerPlainFile("here", ".\\here.json");
    KLB_RegisterToggle("/bare", false, "bare");
    KLB_RegisterToggle("/here", false, "here");
    EXPECT_EQ(overrideInfo(),
              "bare : " + bare + "\n/bare : true\nhere : .\\here.json\n/here : true\n");
}

TEST(GetOverrideInfoString, TextsAreNeitherQuotedNorEscaped) {
    const TempDirectory directory;
    const std::string path = directory.write(
        "caf\xC3\xA9 core.json", featuresFile("\"\\\"quoted\\\"\":true,\"two\\nlines\":true,"
                                              "\"back\\\\slash\":true,\"%s\":true,"
                                              "\"key : true\":true,\"caf\xC3\xA9\xFF\":true"));
    const std::string token = "\"a\" : \\ %n\n\t\x01 caf\xC3\xA9\xFF";
    const LibrarySession library;
    registerPlainFile(token.c_str(), path);
    for (const char* key :
         {"/two\nlines", "/\"quoted\"", "/back\\slash", "/%s", "/key : true", "/caf\xC3\xA9\xFF"}) {
        KLB_RegisterToggle(key, false, token.c_str());
    }
    EXPECT_EQ(overrideInfo(), token + " : " + path +
                                  "\n"
                                  "/\"quoted\" : true\n"
                                  "/%s : true\n"
                                  "/back\\slash : true\n"
                                  "/caf\xC3\xA9\xFF : true\n"
                                  "/key : true : true\n"
                                  "/two\nlines : true\n");
}

TEST(GetOverrideInfoString, IsTheSameTextEveryTimeAndShowsWhatWasAddedSince) {
    const TempDirectory directory;
    const std::string file =
        directory.write("core.json", featuresFile(R"("a":true,"b":true,"c":true)"));
    const LibrarySession library;
    registerPlainFile("core", file);
    std::string expected = "core : " + file + "\n";
    for (const char* key : {"/a", "/b", "/c"}) {
        KLB_RegisterToggle(key, false, "core");
        expected += std::string(key) + " : true\n";
        for (int time = 0; time < 3; ++time) {
            EXPECT_EQ(overrideInfo(), expected);
        }
    }
}

TEST(GetOverrideInfoString, StartsAnewInTheNextSession) {
    const TempDirectory directory;
    const std::string file = directory.write("core.json", featuresFile(R"("a":true,"b":true)"));
    for (const char* key : {"/a", "/b"}) {
        const LibrarySession library;
        EXPECT_EQ(overrideInfo(), "");
        registerPlainFile("core", file);
        KLB_RegisterToggle(key, false, "core");
        EXPECT_EQ(overrideInfo(), "core : " + file + "\n" + key + " : true\n");
    }
}

TEST(GetOverrideInfoString, RegistersNothing) {
    const TempDirectory directory;
    const std::string overrideFile = directory.write(kOverrideFile, documentWith(R"("a":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("TestSystem", true);
        observer.expectSilence([&] {
            EXPECT_EQ(overrideInfo(), "");
            EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
            // Accepted only while nothing is registered.
            KLB_SetOverridePath(directory.path().c_str());
            KLB_RegisterToggle("/a", false, "core");
            EXPECT_EQ(overrideInfo(), "cit.feature.overrides : " + overrideFile + "\n/a : true\n");
        });
    });
}

} // namespace

} // namespace klb::test
