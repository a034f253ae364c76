#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace klb::test {
namespace {

const char* const kNullPath = "setOverridePath: overridePath cannot be NULL.";
const char* const kEmptyPath = "setOverridePath: overridePath cannot be empty.";
const char* const kAlreadySet = "setOverridePath: override path has already been set.";
const char* const kTooLate = "setOverridePath: must be called before any registration routines.";

/// Registers a first toggle, and with it the override file, and states that file's full path. Its
/// directory must not exist.
void expectOverrideFile(ErrorObserver& observer, const std::string& path) {
    observer.expectSilence([] { KLB_RegisterToggle("/first", false, "token"); });
    expectPath(observer, kOverrideToken, path);
}

/// A directory with an override file that sets /a.
class OverrideDirectory : public TempDirectory {
public:
    explicit OverrideDirectory(bool value) {
        write(kOverrideFile, documentWith(value ? R"("a":true)" : R"("a":false)"));
    }
};

void registerToggleWithDefaultTrue(bool expected) {
    KLB_RegisterToggle("/a", true, "token");
    EXPECT_EQ(KLB_GetToggle("/a"), expected);
}

TEST(SetOverridePath, NamesTheDirectoryOfTheOverrideFile) {
    struct Case {
        const char* name;
        std::string directory;
        std::string file;
    };
    const std::string longName(3000, 'x');
    const Case cases[] = {
        {"without a separator", "D:\\klb-cfg", "D:\\klb-cfg\\CIT_OVERRIDE.KLB"},
        {"with a separator", "D:\\klb-cfg\\", "D:\\klb-cfg\\CIT_OVERRIDE.KLB"},
        {"with two separators", "D:\\klb-cfg\\\\", "D:\\klb-cfg\\\\CIT_OVERRIDE.KLB"},
        {"slash is none", "D:/klb-cfg/", "D:/klb-cfg/\\CIT_OVERRIDE.KLB"},
        {"slashes inside", "D:/klb-cfg", "D:/klb-cfg\\CIT_OVERRIDE.KLB"},
        {"slash and separator", "D:/klb-cfg/\\", "D:/klb-cfg/\\CIT_OVERRIDE.KLB"},
        {"separator and slash", "D:\\klb-cfg\\/", "D:\\klb-cfg\\/\\CIT_OVERRIDE.KLB"},
        {"relative", "klb-no-such", "klb-no-such\\CIT_OVERRIDE.KLB"},
        {"relative with a slash", "klb-no-such/", "klb-no-such/\\CIT_OVERRIDE.KLB"},
        {"one letter", "k", "k\\CIT_OVERRIDE.KLB"},
        {"space", " ", " \\CIT_OVERRIDE.KLB"},
        {"a file's name is a directory's too", "D:\\klb-cfg\\CIT_OVERRIDE.KLB",
         "D:\\klb-cfg\\CIT_OVERRIDE.KLB\\CIT_OVERRIDE.KLB"},
        {"UTF-8", "D:\\caf\xC3\xA9", "D:\\caf\xC3\xA9\\CIT_OVERRIDE.KLB"},
        {"not UTF-8", "D:\\caf\xE9\xFF", "D:\\caf\xE9\xFF\\CIT_OVERRIDE.KLB"},
        {"references are not expanded", "%KLB%\\cfg", "%KLB%\\cfg\\CIT_OVERRIDE.KLB"},
        {"of any length", "D:\\" + longName, "D:\\" + longName + "\\CIT_OVERRIDE.KLB"},
#if defined(_WIN32)
        {"leading slash", "/klb-no-such", "/klb-no-such\\CIT_OVERRIDE.KLB"},
        {"leading and trailing slash", "/klb-no-such/", "/klb-no-such/\\CIT_OVERRIDE.KLB"},
        {"leading slash, separator", "/klb-no-such\\", "/klb-no-such\\CIT_OVERRIDE.KLB"},
#else
        {"leading slash", "/klb-no-such", "/klb-no-such/CIT_OVERRIDE.KLB"},
        {"leading and trailing slash", "/klb-no-such/", "/klb-no-such/CIT_OVERRIDE.KLB"},
        {"two trailing slashes", "/klb-no-such//", "/klb-no-such//CIT_OVERRIDE.KLB"},
        {"leading slash, backslash", "/klb-no-such\\", "/klb-no-such\\/CIT_OVERRIDE.KLB"},
        {"of any length, leading slash", "/" + longName, "/" + longName + "/CIT_OVERRIDE.KLB"},
        {"root", "/", "/CIT_OVERRIDE.KLB"},
#endif
    };
    inBothErrorModes([&](ErrorObserver& observer) {
        const TempDirectory elsewhere;
        const WorkingDirectory current(elsewhere.path());
        for (const Case& each : cases) {
            SCOPED_TRACE(each.name);
            const LibrarySession session("TestSystem", true);
            observer.expectSilence([&] { KLB_SetOverridePath(each.directory.c_str()); });
            expectOverrideFile(observer, each.file);
        }
    });
}

TEST(SetOverridePath, OverrideFileIsReadFromThere) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory directory(false);
        for (const std::string& path : {directory.path(), directory.path() + kSeparator}) {
            SCOPED_TRACE(path);
            const LibrarySession session("TestSystem", true);
            observer.expectSilence([&] {
                KLB_SetOverridePath(path.c_str());
                registerToggleWithDefaultTrue(false);
            });
        }
    });
}

TEST(SetOverridePath, RelativeDirectoryIsBelowTheWorkingDirectory) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory elsewhere;
        elsewhere.makeDirectory("cfg/deep");
        elsewhere.write("cfg/deep/CIT_OVERRIDE.KLB", documentWith(R"("a":false)"));
        const WorkingDirectory current(elsewhere.path());
        for (const char* path :
             {"cfg\\deep", "cfg/deep", "cfg\\deep\\", "cfg/deep/", "cfg/deep\\", ".\\cfg\\deep"}) {
            SCOPED_TRACE(path);
            const LibrarySession session("TestSystem", true);
            observer.expectSilence([&] {
                KLB_SetOverridePath(path);
                registerToggleWithDefaultTrue(false);
            });
        }
    });
}

TEST(SetOverridePath, UnicodeDirectoryIsFound) {
    inBothErrorModes([](ErrorObserver& observer) {
        const std::string name = "caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC";
        const TempDirectory directory;
        directory.makeDirectory(name);
        directory.write(name + "/" + kOverrideFile, documentWith(R"("a":false)"));
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.pathOf(name).c_str());
            registerToggleWithDefaultTrue(false);
        });
    });
}

TEST(SetOverridePath, DirectoryWithoutAnOverrideFileIsSilent) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory empty;
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(empty.path().c_str());
            registerToggleWithDefaultTrue(true);
        });
        expectPath(observer, kOverrideToken, empty.pathOf(kOverrideFile));
    });
}

TEST(SetOverridePath, LoadErrorNamesTheOverrideFile) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.write(kOverrideFile, R"({"a":true} more)");
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] { KLB_SetOverridePath(directory.path().c_str()); });
        observer.expectError<std::domain_error>(
            loadErrorText("ParseErrorDocumentRootNotSingular", file, 11),
            [] { KLB_RegisterToggle("/a", false, "token"); });
        observer.expectSilence([] { EXPECT_FALSE(registeredValue("/b", false, "token")); });
    });
}

TEST(SetOverridePath, NullAndEmptyAreThrownInEitherModeAndChangeNothing) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory directory(false);
        const LibrarySession session("TestSystem", true);
        for (int attempt = 0; attempt < 2; ++attempt) {
            observer.expectAlwaysThrows<std::invalid_argument>(
                kNullPath, [] { KLB_SetOverridePath(nullptr); });
            observer.expectAlwaysThrows<std::invalid_argument>(kEmptyPath,
                                                               [] { KLB_SetOverridePath(""); });
        }
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            registerToggleWithDefaultTrue(false);
        });
    });
}

TEST(SetOverridePath, NullAndEmptyComeBeforeTheOtherErrors) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession session("TestSystem", true);
        const auto expectBoth = [&] {
            observer.expectAlwaysThrows<std::invalid_argument>(
                kNullPath, [] { KLB_SetOverridePath(nullptr); });
            observer.expectAlwaysThrows<std::invalid_argument>(kEmptyPath,
                                                               [] { KLB_SetOverridePath(""); });
        };
        observer.expectSilence([] { KLB_SetOverridePath("D:\\klb-cfg"); });
        expectBoth();
        expectOverrideFile(observer, "D:\\klb-cfg\\CIT_OVERRIDE.KLB");
        expectBoth();
        expectPath(observer, kOverrideToken, "D:\\klb-cfg\\CIT_OVERRIDE.KLB");
    });
}

TEST(SetOverridePath, SecondCallIsRefusedAndTheFirstStays) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory first(false);
        const OverrideDirectory second(true);
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] { KLB_SetOverridePath(first.path().c_str()); });
        for (const std::string& path : {second.path(), first.path(), std::string("x")}) {
            SCOPED_TRACE(path);
            observer.expectError<std::domain_error>(kAlreadySet,
                                                    [&] { KLB_SetOverridePath(path.c_str()); });
        }
        observer.expectSilence([] { registerToggleWithDefaultTrue(false); });
        expectPath(observer, kOverrideToken, first.pathOf(kOverrideFile));
    });
}

TEST(SetOverridePath, AlreadySetComesBeforeTooLate) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory first(false);
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(first.path().c_str());
            registerPlainFile("token", "klb-no-such\\file.json");
        });
        observer.expectError<std::domain_error>(kAlreadySet,
                                                [] { KLB_SetOverridePath("D:\\klb-cfg"); });
        observer.expectSilence([] { registerToggleWithDefaultTrue(false); });
        observer.expectError<std::domain_error>(kAlreadySet,
                                                [] { KLB_SetOverridePath("D:\\klb-cfg"); });
        expectPath(observer, kOverrideToken, first.pathOf(kOverrideFile));
    });
}

TEST(SetOverridePath, IsRefusedAfterAnyRegistration) {
    using Registration = std::function<void(ErrorObserver&, const TempDirectory&)>;
    struct Case {
        const char* name;
        Registration registration;
    };
    const Case cases[] = {
        {"toggle file",
         [](ErrorObserver&, const TempDirectory& directory) {
             registerPlainFile("token", directory.write("file.json", documentWith(R"("a":true)")));
         }},
        {"missing toggle file",
         [](ErrorObserver&, const TempDirectory& directory) {
             registerPlainFile("token", directory.pathOf("missing.json"));
         }},
        {"damaged toggle file",
         [](ErrorObserver& observer, const TempDirectory& directory) {
             const std::string file = directory.write("file.json", "{}");
             observer.expectError<std::domain_error>(loadErrorText("FileTooSmall", file),
                                                     [&] { registerPlainFile("token", file); });
         }},
        {"static toggle",
         [](ErrorObserver&, const TempDirectory&) { KLB_RegisterToggle("/a", true, "token"); }},
        {"dynamic toggle",
         [](ErrorObserver&, const TempDirectory&) {
             KLB_RegisterDynamicToggle("/a", true, "token");
         }},
        {"toggle without a usable key",
         [](ErrorObserver&, const TempDirectory&) { KLB_RegisterToggle("", true, "token"); }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const TempDirectory directory;
            const LibrarySession session;
            each.registration(observer, directory);
            // Refused the same way again: the first refusal has set nothing.
            for (int attempt = 0; attempt < 2; ++attempt) {
                observer.expectError<std::domain_error>(
                    kTooLate, [&] { KLB_SetOverridePath(directory.path().c_str()); });
            }
            EXPECT_TRUE(KLB_IsToggleFileRegistered("token"));
        });
    }
}

TEST(SetOverridePath, RefusedRegistrationsDoNotCount) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory directory(false);
        const LibrarySession session("TestSystem", true);
        observer.expectError<std::invalid_argument>(
            "registerToggleFile: toggleFile cannot be empty.",
            [] { registerPlainFile("token", ""); });
        observer.expectError<std::invalid_argument>(
            "registerToggle: toggleKey cannot be NULL.",
            [] { KLB_RegisterToggle(nullptr, true, "token"); });
        observer.expectError<std::invalid_argument>(
            "registerToggle: toggleFileToken cannot be NULL.",
            [] { KLB_RegisterDynamicToggle("/a", true, nullptr); });
        observer.expectSilence([&] {
            EXPECT_FALSE(KLB_IsToggleFileRegistered("token"));
            EXPECT_FALSE(KLB_IsToggleRegistered("/a"));
            KLB_SetOverridePath(directory.path().c_str());
            registerToggleWithDefaultTrue(false);
        });
    });
}

TEST(SetOverridePath, ArgumentIsCopied) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory directory(false);
        std::string path = directory.path();
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(path.c_str());
            path.assign(path.size(), '#');
            registerToggleWithDefaultTrue(false);
        });
    });
}

TEST(SetOverridePath, WorksWithOverridesDisabledAndTheFileIsNotRead) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory directory(false);
        const LibrarySession session("TestSystem", false);
        observer.expectSilence([&] { KLB_SetOverridePath(directory.path().c_str()); });
        observer.expectError<std::domain_error>(
            kAlreadySet, [&] { KLB_SetOverridePath(directory.path().c_str()); });
        observer.expectSilence([] { registerToggleWithDefaultTrue(true); });
    });
}

TEST(SetOverridePath, IsUnsetAgainAfterTerm) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideDirectory first(false);
        const OverrideDirectory second(true);
        {
            const LibrarySession session("TestSystem", true);
            observer.expectSilence([&] {
                KLB_SetOverridePath(first.path().c_str());
                registerToggleWithDefaultTrue(false);
            });
        }
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(second.path().c_str());
            registerToggleWithDefaultTrue(true);
        });
        expectPath(observer, kOverrideToken, second.pathOf(kOverrideFile));
    });
}

} // namespace
} // namespace klb::test
