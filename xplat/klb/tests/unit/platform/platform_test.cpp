#include "platform/platform.h"

#include "scoped_environment.h"
#include "temp_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#if !defined(_WIN32)
#include <chrono>
#include <csignal>
#include <filesystem>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace klb {
namespace {

using test::ScopedEnvironment;
using test::TempDirectory;

TEST(PathSeparator, IsTheOneThatThePathIsWrittenWith) {
#if defined(_WIN32)
    const char ofRooted = '\\';
#else
    const char ofRooted = '/';
#endif
    EXPECT_EQ(pathSeparator("/etc/app"), ofRooted);
    EXPECT_EQ(pathSeparator("/"), ofRooted);
    EXPECT_EQ(pathSeparator("D:\\cfg"), '\\');
    EXPECT_EQ(pathSeparator("D:/cfg"), '\\');
    EXPECT_EQ(pathSeparator("toggles.json"), '\\');
    EXPECT_EQ(pathSeparator(""), '\\');
}

TEST(OpenInputFile, ReadsARegularFile) {
    const TempDirectory directory;
    const auto file = openInputFile(directory.write("Gr\xC3\xB6\xC3\x9F"
                                                    "e \xE2\x82\xAC.json",
                                                    std::string("a\r\n\0\x1A\xFF", 6)));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->size(), 6U);
    char bytes[8];
    EXPECT_EQ(file->read(bytes, 4), 4U);
    EXPECT_EQ(file->read(bytes + 4, 4), 2U);
    EXPECT_EQ(std::string(bytes, 6), std::string("a\r\n\0\x1A\xFF", 6));
}

TEST(OpenInputFile, OpensNothingButRegularFiles) {
    const TempDirectory directory;
    EXPECT_EQ(openInputFile(directory.pathOf("missing")), nullptr);
    EXPECT_EQ(openInputFile(directory.path()), nullptr);
    EXPECT_EQ(openInputFile(""), nullptr);
#if defined(_WIN32)
    EXPECT_EQ(openInputFile("NUL"), nullptr);
#else
    EXPECT_EQ(openInputFile("/dev/zero"), nullptr);
    const std::string pipe = directory.pathOf("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(openInputFile(pipe), nullptr);
#endif
}

#if !defined(_WIN32)
TEST(OpenInputFile, WaitsForAnotherProcessToGiveItsLeaseBack) {
    const TempDirectory directory;
    const std::string path = directory.write("leased.json", "0123456789");
    std::signal(SIGIO, SIG_IGN);
    const int holder = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(holder, 0);
    if (::fcntl(holder, F_SETLEASE, F_WRLCK) != 0) {
        ::close(holder);
        GTEST_SKIP() << "the file system of the temporary directory has no leases";
    }
    std::thread giveBack([holder] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ::fcntl(holder, F_SETLEASE, F_UNLCK);
    });
    EXPECT_NE(openInputFile(path), nullptr);
    giveBack.join();
    ::close(holder);
}

/// The number under which this process has a file open; -1 when it has not.
int descriptorOf(const std::string& path) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code closedMeanwhile;
        if (std::filesystem::equivalent(entry.path(), path, closedMeanwhile)) {
            return std::stoi(entry.path().filename().string());
        }
    }
    return -1;
}

TEST(OpenInputFile, IsNotInheritedByOtherPrograms) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", "0123456789");
    const auto file = openInputFile(path);
    ASSERT_NE(file, nullptr);
    const int descriptor = descriptorOf(path);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
}

TEST(OpenInputFile, ReadsNothingWhereReadingFails) {
    // The first page of a process's memory is never there.
    const auto file = openInputFile("/proc/self/mem");
    if (!file) {
        GTEST_SKIP() << "there is no /proc/self/mem";
    }
    char bytes[8];
    EXPECT_EQ(file->read(bytes, sizeof bytes), 0U);
}
#endif

TEST(ExecutablePath, NamesThisProgram) {
    const auto path = executablePath();
    ASSERT_TRUE(path);
    const std::size_t separator = path->rfind(test::kSeparator);
    ASSERT_NE(separator, std::string::npos);
    EXPECT_EQ(path->substr(separator + 1, 14), "klb_unit_tests");
    EXPECT_NE(openInputFile(*path), nullptr);
}

TEST(ExpandEnvironment, PutsTheVariablesValueIn) {
    const ScopedEnvironment variable("PROGRAMDATA", "D:\\Program Data");
    EXPECT_EQ(expandEnvironment("%PROGRAMDATA%\\x\\"), "D:\\Program Data\\x\\");
}

TEST(ExpandEnvironment, WithoutTheVariable) {
    const ScopedEnvironment variable("PROGRAMDATA", std::nullopt);
#if defined(_WIN32)
    EXPECT_EQ(expandEnvironment("%PROGRAMDATA%\\x\\"), "%PROGRAMDATA%\\x\\");
#else
    EXPECT_EQ(expandEnvironment("%PROGRAMDATA%\\x\\"), std::nullopt);
    const ScopedEnvironment empty("PROGRAMDATA", "");
    EXPECT_EQ(expandEnvironment("%PROGRAMDATA%\\x\\"), std::nullopt);
#endif
}

TEST(ExpandEnvironment, ALongExpansionEndsSomewhere) {
    const ScopedEnvironment variable("PROGRAMDATA", std::string(300, 'x'));
#if defined(_WIN32)
    EXPECT_EQ(expandEnvironment("%PROGRAMDATA%\\x\\"), std::string(259, 'x'));
#else
    EXPECT_EQ(expandEnvironment("%PROGRAMDATA%\\x\\"), std::string(300, 'x') + "\\x\\");
#endif
}

TEST(DeviceIdentity, IsOneLineOfHexadecimalDigits) {
    const auto identity = deviceIdentity();
    if (!identity) {
        GTEST_SKIP() << "this computer has no identity";
    }
    EXPECT_EQ(identity->size(), 32U);
    EXPECT_TRUE(std::all_of(identity->begin(), identity->end(), [](unsigned char c) {
        return std::isxdigit(c) != 0;
    })) << *identity;
}

#if !defined(_WIN32)
TEST(DeviceIdentity, IsTheFirstLineOfItsFile) {
    struct Case {
        const char* name;
        std::string bytes;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"a line", "0123abcd\n", "0123abcd"},
        {"no line end", "0123abcd", "0123abcd"},
        {"two lines", "first\nsecond\n", "first"},
        {"up to a NUL", std::string("ab\0cd\n", 6), "ab"},
        {"long", std::string(300, 'x'), std::string(256, 'x')},
        {"empty file", "", std::nullopt},
        {"empty line", "\nsecond\n", std::nullopt},
        {"NUL first", std::string("\0ab\n", 4), std::nullopt},
    };
    const TempDirectory directory;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(readDeviceIdentity(directory.write("machine-id", c.bytes)), c.expected);
    }
    EXPECT_EQ(readDeviceIdentity(directory.pathOf("missing")), std::nullopt);
    EXPECT_EQ(readDeviceIdentity(directory.path()), std::nullopt);
}
#endif

#if defined(_WIN32)
TEST(TextEncoding, GoesBothWaysUpToTheFirstZero) {
    EXPECT_EQ(toUtf8(L"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(toUtf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), L"a\u00E9\u20AC\U0001F600");
    EXPECT_EQ(toUtf8(std::wstring_view(L"a\0b", 3)), "a");
    EXPECT_EQ(toUtf8(L""), "");
    EXPECT_EQ(toUtf16(""), L"");
}
#endif

} // namespace
} // namespace klb
