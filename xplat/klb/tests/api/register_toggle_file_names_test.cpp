#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "scoped_environment.h"
#include "sessions.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace klb::test {
namespace {

const std::string kOn = R"("features":{"a":true,"b":true})";

TEST(RegisterToggleFileNames, AreCompletedOrKept) {
    struct Case {
        const char* name;
        std::string file;
        bool isCompleted;
    };
#if defined(_WIN32)
    const bool slashCompletes = true;
#else
    const bool slashCompletes = false;
#endif
    const Case cases[] = {
        {"bare name", "toggles.json", true},
        {"name with a space", "my toggles.json", true},
        {"dot", ".", true},
        {"two dots", "..", true},
        {"one byte", "t", true},
        {"slash inside", "sub/toggles.json", true},
        {"up with a slash", "../toggles.json", true},
        {"drive and slashes", "C:/data/toggles.json", true},
        {"drive only", "C:toggles.json", true},
        {"trailing slash", "toggles/", true},
        {"UTF-8", "caf\xC3\xA9 \xE2\x82\xAC.json", true},
        {"not UTF-8", "caf\xE9\xFF.json", true},
        {"percent signs", "%PROGRAMDATA%.json", true},
        {"leading slash", "/klb-no-such/toggles.json", slashCompletes},
        {"two leading slashes", "//klb-no-such/./toggles.json", slashCompletes},
        {"drive and backslashes", "C:\\klb-no-such\\toggles.json", false},
        {"drive and both", "C:/klb-no-such\\toggles.json", false},
        {"backslash inside", "klb-no-such\\toggles.json", false},
        {"leading backslash", "\\klb-no-such.json", false},
        {"trailing backslash", "klb-no-such\\", false},
        {"up with a backslash", "klb-no-such\\..\\\\.\\toggles.json", false},
        {"leading slash and backslash", "/klb-no-such\\toggles.json", false},
        {"percent signs and backslash", "%KLB%\\toggles.json", false},
    };
    inBothErrorModes([&](ErrorObserver& observer) {
        const SupportDirectory support;
        const LibrarySession session;
        for (const Case& each : cases) {
            SCOPED_TRACE(each.name);
            observer.expectSilence([&] { registerPlainFile(each.name, each.file); });
            expectPath(observer, each.name,
                       each.isCompleted ? support.path() + each.file : each.file);
            observer.expectSilence([&] { registerPlainFile(each.name, each.file); });
        }
    });
}

TEST(RegisterToggleFileNames, OfAnyLengthAreKeptWhole) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        const LibrarySession session;
        for (const std::size_t length : {255U, 256U, 260U, 261U, 1040U, 1041U, 5000U, 1000000U}) {
            SCOPED_TRACE(length);
            const std::string bare(length, 'x');
            observer.expectSilence([&] { registerPlainFile(bare.c_str(), bare); });
            expectPath(observer, bare, support.path() + bare);

            const std::string full = "C:\\klb-no-such\\" + bare;
            observer.expectSilence([&] { registerPlainFile(full.c_str(), full); });
            expectPath(observer, full, full);
        }
    });
}

TEST(RegisterToggleFileNames, BareNameIsReadFromTheSupportDirectory) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        support.write("toggles.json", documentWith(kOn));
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "toggles.json");
            EXPECT_TRUE(registeredValue("/a", false, "token"));
        });
    });
}

TEST(RegisterToggleFileNames, NameWithASlashIsReadFromBelowTheSupportDirectory) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        support.makeDirectory("sub");
        support.write("sub/toggles.json", documentWith(kOn));
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "sub/toggles.json");
            EXPECT_TRUE(registeredValue("/a", false, "token"));
            registerPlainFile("again", "sub/../sub/toggles.json");
            EXPECT_TRUE(registeredValue("/b", false, "again"));
        });
    });
}

TEST(RegisterToggleFileNames, BareNameIsNotReadFromTheWorkingDirectory) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        const TempDirectory elsewhere;
        elsewhere.write("toggles.json", documentWith(kOn));
        const WorkingDirectory current(elsewhere.path());
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "toggles.json");
            EXPECT_FALSE(registeredValue("/a", false, "token"));
        });
    });
}

TEST(RegisterToggleFileNames, NameWithABackslashIsReadAsItIs) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        const TempDirectory elsewhere;
        elsewhere.makeDirectory("sub/deep");
        elsewhere.write("sub/toggles.json", documentWith(kOn));
        elsewhere.write("sub/deep/small.json", "{}");
        const WorkingDirectory current(elsewhere.path());
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "sub\\toggles.json");
            EXPECT_TRUE(registeredValue("/a", false, "token"));
        });
        expectPath(observer, "token", "sub\\toggles.json");
        observer.expectError<std::domain_error>(
            loadErrorText("FileTooSmall", "sub/deep\\small.json"),
            [] { registerPlainFile("small", "sub/deep\\small.json"); });
    });
}

TEST(RegisterToggleFileNames, FullPathIsReadAsItIs) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        const TempDirectory directory;
        const LibrarySession session;
        int number = 0;
        for (const char* name : {"toggles.json", "with space.json", "caf\xC3\xA9.json",
                                 "\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x94\x91.json", "no suffix"}) {
            SCOPED_TRACE(name);
            const std::string key = "/k" + std::to_string(++number);
            const std::string file = directory.write(
                name, documentWith(R"("features":{")" + key.substr(1) + R"(":true})"));
            observer.expectSilence([&] {
                registerPlainFile(name, file);
                EXPECT_TRUE(registeredValue(key, false, name));
            });
            expectPath(observer, name, file);
        }
    });
}

TEST(RegisterToggleFileNames, UnicodeNameInTheSupportDirectoryIsRead) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        support.write("caf\xC3\xA9.json", documentWith(kOn));
        support.write("\xE6\x97\xA5.json", "{}");
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "caf\xC3\xA9.json");
            EXPECT_TRUE(registeredValue("/a", false, "token"));
        });
        observer.expectError<std::domain_error>(
            loadErrorText("FileTooSmall", support.path() + "\xE6\x97\xA5.json"),
            [] { registerPlainFile("small", "\xE6\x97\xA5.json"); });
    });
}

TEST(RegisterToggleFileNames, AreComparedResolved) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        support.write("toggles.json", documentWith(kOn));
        const std::string full = support.path() + "toggles.json";
        const LibrarySession session;
        observer.expectSilence([&] {
            registerPlainFile("bare first", "toggles.json");
            support.write("toggles.json", "broken");
            registerPlainFile("bare first", "toggles.json");
            registerPlainFile("bare first", full);
            EXPECT_TRUE(registeredValue("/a", false, "bare first"));
        });
        observer.expectError<std::domain_error>(ownedFileText("full second"),
                                                [&] { registerPlainFile("full second", full); });

        const std::string other = support.path() + "other.json";
        observer.expectSilence([&] {
            registerPlainFile("full first", other);
            registerPlainFile("full first", "other.json");
        });
        observer.expectError<std::domain_error>(
            ownedFileText("bare second"), [] { registerPlainFile("bare second", "other.json"); });
    });
}

TEST(RegisterToggleFileNames, AreComparedByteForByteAndNothingElseIsNormalised) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        support.write("toggles.json", documentWith(kOn));
        const LibrarySession session;
        observer.expectSilence([] { registerPlainFile("token", "toggles.json"); });
        for (const char* spelling :
             {"Toggles.json", "TOGGLES.JSON", "./toggles.json", "../Support/toggles.json",
              "toggles.json ", "toggles.json/", "/toggles.json"}) {
            SCOPED_TRACE(spelling);
            observer.expectError<std::domain_error>(otherFileText(support.path() + "toggles.json"),
                                                    [&] { registerPlainFile("token", spelling); });
            // Another spelling is another path, for the owner of a path too.
            observer.expectSilence([&] { registerPlainFile(spelling, spelling); });
        }
    });
}

TEST(RegisterToggleFileNames, LoadErrorNamesTheResolvedPath) {
    inBothErrorModes([](ErrorObserver& observer) {
        const SupportDirectory support;
        support.write("small.json", R"({"a": 1 })");
        support.write("more.json", R"({"a":true} more)");
        const LibrarySession session;
        observer.expectError<std::domain_error>(
            loadErrorText("FileTooSmall", support.path() + "small.json"),
            [] { registerPlainFile("small", "small.json"); });
        observer.expectError<std::domain_error>(
            loadErrorText("ParseErrorDocumentRootNotSingular", support.path() + "more.json", 11),
            [] { registerPlainFile("more", "more.json"); });
    });
}

#if !defined(_WIN32)
TEST(RegisterToggleFileNames, BackslashInANativePathIsPartOfTheName) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.makeDirectory("sub");
        directory.write("sub/toggles.json", documentWith(R"("features":{"a":false})"));
        const std::string file = directory.write("sub\\toggles.json", documentWith(kOn));
        const LibrarySession session;
        observer.expectSilence([&] {
            registerPlainFile("token", file);
            EXPECT_TRUE(registeredValue("/a", false, "token"));
        });
        expectPath(observer, "token", file);
    });
}

TEST(RegisterToggleFileNames, DrivePathIsReadBelowTheWorkingDirectory) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory elsewhere;
        elsewhere.makeDirectory("C:/data");
        elsewhere.write("C:/data/toggles.json", documentWith(kOn));
        const WorkingDirectory current(elsewhere.path());
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "C:\\data\\toggles.json");
            EXPECT_TRUE(registeredValue("/a", false, "token"));
        });
        expectPath(observer, "token", "C:\\data\\toggles.json");
    });
}
#endif

} // namespace
} // namespace klb::test
