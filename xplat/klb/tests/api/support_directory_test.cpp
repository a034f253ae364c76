#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "paths.h"
#include "scoped_environment.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace klb::test {
namespace {

#if defined(_WIN32)
const std::string kBelow = "\\Mosk\\Support\\";
constexpr std::size_t kLongest = 259; // UTF-16 units, and here bytes as well
#else
const std::string kBelow = "/Mosk/Support/";
constexpr std::size_t kLongest = 1040;
#endif

/// A bare name is completed with exactly this directory, whether or not it exists.
void expectSupportDirectory(ErrorObserver& observer, const std::string& directory) {
    const LibrarySession session;
    observer.expectSilence([] { registerPlainFile("token", "klb-no-such-file.json"); });
    expectPath(observer, "token", directory + "klb-no-such-file.json");
}

/// The directory that a bare name is completed with, from the refusal of another file.
std::string supportDirectory() {
    const std::string name = "klb-no-such-file.json";
    const LibrarySession session;
    KLB_InitMessageProc(nullptr);
    registerPlainFile("token", name);
    try {
        registerPlainFile("token", "klb-no-such\\other.json");
    } catch (const std::domain_error& caught) {
        const std::string text = caught.what();
        const std::string before = otherFileText("");
        const std::string after = name + "'";
        const std::size_t opening = before.size() - 1;
        EXPECT_EQ(text.substr(0, opening) + "'", before);
        if (text.size() >= opening + after.size()) {
            EXPECT_EQ(text.substr(text.size() - after.size()), after);
            return text.substr(opening, text.size() - opening - after.size());
        }
    }
    ADD_FAILURE() << "the second file was not refused as it should be";
    return "";
}

TEST(SupportDirectory, IsBelowProgramData) {
    struct Case {
        const char* name;
        std::string programData;
    };
    const Case cases[] = {
        {"drive", "C:\\ProgramData"},
        {"full path with slashes", "/srv/data"},
        {"trailing backslash is kept", "C:\\ProgramData\\"},
        {"trailing slash is kept", "/srv/data/"},
        {"spaces", "C:\\Program Data\\all users"},
        {"relative", "data"},
        {"references are expanded once only", "%KLB_OTHER%\\data"},
        {"one byte", "x"},
    };
    const ScopedEnvironment other("KLB_OTHER", "expanded");
    inBothErrorModes([&](ErrorObserver& observer) {
        for (const Case& each : cases) {
            SCOPED_TRACE(each.name);
            const ScopedEnvironment programData("PROGRAMDATA", each.programData);
            expectSupportDirectory(observer, each.programData + kBelow);
        }
    });
}

TEST(SupportDirectory, IsFixedWithoutProgramData) {
    inBothErrorModes([](ErrorObserver& observer) {
        const ScopedEnvironment programData("PROGRAMDATA", std::nullopt);
#if defined(_WIN32)
        // An undefined variable is left in the text.
        expectSupportDirectory(observer, "%PROGRAMDATA%\\Mosk\\Support\\");
#else
        expectSupportDirectory(observer, "/var/lib/Mosk/Support/");
#endif
    });
}

#if !defined(_WIN32)
TEST(SupportDirectory, EmptyProgramDataCountsAsUndefined) {
    inBothErrorModes([](ErrorObserver& observer) {
        const ScopedEnvironment programData("PROGRAMDATA", "");
        expectSupportDirectory(observer, "/var/lib/Mosk/Support/");
    });
}
#endif

TEST(SupportDirectory, IsAskedForAnewEachTime) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession session;
        {
            const ScopedEnvironment programData("PROGRAMDATA", "D:\\first");
            observer.expectSilence([] { registerPlainFile("one", "klb-no-such.json"); });
        }
        const ScopedEnvironment programData("PROGRAMDATA", "D:\\second");
        observer.expectSilence([] { registerPlainFile("two", "klb-no-such.json"); });

        expectPath(observer, "one", "D:\\first" + kBelow + "klb-no-such.json");
        expectPath(observer, "two", "D:\\second" + kBelow + "klb-no-such.json");
        // The same name is another file by now.
        observer.expectError<std::domain_error>(
            otherFileText("D:\\first" + kBelow + "klb-no-such.json"),
            [] { registerPlainFile("one", "klb-no-such.json"); });
    });
}

TEST(SupportDirectory, ThatDoesNotExistHoldsNoFiles) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory empty;
        const ScopedEnvironment programData("PROGRAMDATA", empty.path());
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "toggles.json");
            EXPECT_FALSE(registeredValue("/a", false, "token"));
        });
        expectPath(observer, "token", empty.path() + kBelow + "toggles.json");
    });
}

TEST(SupportDirectory, WithUnicodeCharactersIsUtf8) {
    inBothErrorModes([](ErrorObserver& observer) {
        const std::string name = "caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x94\x91";
        const TempDirectory directory;
        directory.makeDirectory(name + "/Mosk/Support");
        directory.write(name + "/Mosk/Support/toggles.json",
                        documentWith(R"("features":{"a":true})"));
        const ScopedEnvironment programData("PROGRAMDATA", directory.pathOf(name));
#if defined(_WIN32)
        const std::filesystem::path path = fromUtf8(directory.pathOf(name));
        ASSERT_TRUE(SetEnvironmentVariableW(L"PROGRAMDATA", path.c_str()));
#endif
        const LibrarySession session;
        observer.expectSilence([] {
            registerPlainFile("token", "toggles.json");
            EXPECT_TRUE(registeredValue("/a", false, "token"));
        });
        expectPath(observer, "token", directory.pathOf(name) + kBelow + "toggles.json");
    });
}

TEST(SupportDirectory, OfTheGreatestLengthIsUsedWhole) {
    inBothErrorModes([](ErrorObserver& observer) {
        for (const std::size_t length : {std::size_t{259}, kLongest}) {
            SCOPED_TRACE(length);
            const std::string root = "C:\\" + std::string(length - 3 - kBelow.size(), 'd');
            const ScopedEnvironment programData("PROGRAMDATA", root);
            expectSupportDirectory(observer, root + kBelow);
        }
    });
}

TEST(SupportDirectory, ThatIsTooLongIsUsedAsCut) {
    for (const std::size_t length : {kLongest + 1, kLongest + 2, kLongest + kBelow.size(),
                                     std::size_t{2000}, std::size_t{5000}, std::size_t{30000}}) {
        SCOPED_TRACE(length);
        const std::string root = "C:\\" + std::string(length - 3 - kBelow.size(), 'd');
        const ScopedEnvironment programData("PROGRAMDATA", root);
        const std::string whole = root + kBelow;
        const std::string used = supportDirectory();
        EXPECT_LE(used.size(), kLongest);
        EXPECT_EQ(used, whole.substr(0, used.size()));
    }
}

} // namespace
} // namespace klb::test
