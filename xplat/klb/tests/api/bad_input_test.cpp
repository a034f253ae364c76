#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "paths.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#include <winioctl.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace klb::test {

namespace {

const std::string kDocument = featuresFile(R"("a":true,"b":true)");

/// The file is missing as far as the library is concerned: no message, and defaults all round.
void expectMissing(const std::string& path) {
    SCOPED_TRACE(path.substr(0, 200));
    for (const KLB_ToggleFileType type :
         {KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override}) {
        SCOPED_TRACE(static_cast<int>(type));
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectSilence([&] {
                KLB_RegisterToggleFile(type, "core", path.c_str());
                EXPECT_FALSE(registeredValue("/a", false, "core"));
                EXPECT_TRUE(registeredValue("/other", true, "core"));
                KLB_RegisterToggleFile(type, "core", path.c_str());
            });
            EXPECT_TRUE(KLB_IsToggleFileRegistered("core"));
        });
    }
}

/// The file is refused with this error, which has no place in the text.
void expectRefused(const std::string& path, const std::string& error) {
    SCOPED_TRACE(path);
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectError<std::domain_error>(loadErrorText(error, path),
                                                [&] { registerPlainFile("core", path); });
        EXPECT_TRUE(lockIsFree());
        observer.expectSilence([&] {
            registerPlainFile("core", path);
            EXPECT_FALSE(registeredValue("/a", false, "core"));
        });
    });
}

TEST(BadFile, DirectoryIsMissing) {
    const TempDirectory directory;
    const std::string inner = directory.makeDirectory("toggles.json");
    expectMissing(inner);
    expectMissing(inner + kSeparator);
    expectMissing(directory.path());
}

TEST(BadFile, DirectoryInPlaceOfTheOverrideFileIsMissing) {
    const TempDirectory directory;
    directory.makeDirectory(kOverrideFile);
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            EXPECT_FALSE(registeredValue("/a", false, "core"));
            EXPECT_TRUE(registeredValue("/b", true, "core"));
        });
    });
}

TEST(BadFile, OverrideDirectoryThatIsMissingMeansNoOverrides) {
    const TempDirectory directory;
    const std::string file = directory.write("file", kDocument);
    for (const std::string& path : {directory.pathOf("missing"), file, std::string("no\xFFwhere"),
                                    directory.path() + std::string(5000, 'x')}) {
        SCOPED_TRACE(path.substr(0, 200));
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library("TestSystem", true);
            observer.expectSilence([&] {
                KLB_SetOverridePath(path.c_str());
                EXPECT_FALSE(registeredValue("/a", false, "core"));
            });
        });
    }
}

TEST(BadFile, NameThatNoFileCanHaveIsMissing) {
    const TempDirectory directory;
    const std::string file = directory.write("file.json", kDocument);
    expectMissing(file + kSeparator);
    expectMissing(file + kSeparator + "inner.json");
    expectMissing(directory.pathOf("missing") + kSeparator + "inner.json");
    expectMissing(directory.path() + kSeparator + std::string(300, 'n') + ".json");
    expectMissing(directory.path() + kSeparator + "\xFF\xC3.json");
    expectMissing(directory.path() + kSeparator + "\n\t.json");
    expectMissing(directory.path() + kSeparator + std::string(1'000'000, 'n'));
    std::string deep = directory.path();
    for (int level = 0; level < 100'000; ++level) {
        deep += kSeparator;
        deep += "directory";
    }
    expectMissing(deep);
}

TEST(BadFile, LongNameStandsWholeInMessages) {
    const TempDirectory directory;
    const std::string file = directory.write("file.json", kDocument);
    const std::string name = directory.path() + kSeparator + "\xFF" + std::string(1'000'000, 'n');
    const std::string token(1'000'000, 't');
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] { registerPlainFile("core", name); });
        observer.expectError<std::domain_error>(otherFileText(name),
                                                [&] { registerPlainFile("core", file); });
        observer.expectError<std::domain_error>(ownedFileText(token),
                                                [&] { registerPlainFile(token.c_str(), name); });
        EXPECT_TRUE(KLB_IsToggleFileRegistered(token.c_str()));
        EXPECT_FALSE(KLB_IsToggleFileRegistered(token.substr(1).c_str()));
        KLB_RegisterToggle("/a", false, "core");
        observer.expectError<std::domain_error>(
            "registerToggle: /a already registred in " + name,
            [&] { KLB_RegisterToggle("/a", false, token.c_str()); });
    });
}

/// Makes a file of that size which begins with the bytes and occupies next to no space.
void writeSparse(const TempDirectory& directory, const char* name, const std::string& bytes,
                 std::uint64_t size) {
    const std::string path = directory.write(name, bytes);
#if defined(_WIN32)
    const HANDLE file = CreateFileW(fromUtf8(path).c_str(), GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD ignored = 0;
    DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &ignored, nullptr);
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(size);
    const bool extended = SetFilePointerEx(file, end, nullptr, FILE_BEGIN) && SetEndOfFile(file);
    const DWORD error = GetLastError();
    CloseHandle(file);
    if (!extended) {
        throw std::system_error(static_cast<int>(error), std::system_category(), path);
    }
#else
    std::filesystem::resize_file(fromUtf8(path), size);
#endif
}

TEST(BadFile, SizeBeyondASigned32BitNumberCannotBeRead) {
    constexpr std::uint64_t k2GiB = std::uint64_t{1} << 31;
    constexpr std::uint64_t k4GiB = std::uint64_t{1} << 32;
    const std::uint64_t sizes[] = {
        k2GiB, // the first that does not fit
        k2GiB + kDocument.size(),
        k4GiB - 1,
        k4GiB,                    // cut to 32 bits an empty file,
        k4GiB + 9,                // one that is too small,
        k4GiB + kDocument.size(), // and the document itself
        3 * k4GiB + kDocument.size(),
    };
    const TempDirectory directory;
    for (const std::uint64_t size : sizes) {
        SCOPED_TRACE(size);
        try {
            writeSparse(directory, "toggles.json", kDocument, size);
        } catch (const std::system_error& error) {
            GTEST_SKIP() << "no sparse file of " << size << " bytes here: " << error.what();
        }
        ASSERT_EQ(std::filesystem::file_size(fromUtf8(directory.pathOf("toggles.json"))), size);
        expectRefused(directory.pathOf("toggles.json"), "UnableToReadFile");
    }
}

TEST(BadFile, HugeOverrideFileIsReportedAndLeavesDefaults) {
    const TempDirectory directory;
    try {
        writeSparse(directory, kOverrideFile, R"({"a":true,"b":true})",
                    (std::uint64_t{1} << 32) + 19);
    } catch (const std::system_error& error) {
        GTEST_SKIP() << "no sparse file of 4 GiB here: " << error.what();
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("TestSystem", true);
        KLB_SetOverridePath(directory.path().c_str());
        observer.expectError<std::domain_error>(
            loadErrorText("UnableToReadFile", directory.pathOf(kOverrideFile)),
            [] { KLB_RegisterToggle("/a", false, "core"); });
        EXPECT_TRUE(lockIsFree());
        observer.expectSilence([] {
            EXPECT_FALSE(registeredValue("/a", false, "core"));
            EXPECT_FALSE(registeredValue("/b", false, "core"));
        });
    });
}

TEST(BadFile, ThatShrinksWhileItIsReadIsLoadedOrCannotBeRead) {
    constexpr std::uintmax_t kLong = 4'000'000;
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", kDocument);
    std::atomic<bool> ended = false;
    // The document stands in the part that stays; what comes and goes behind it are NUL bytes.
    std::thread resizing([&] {
        std::error_code ignored;
        while (!ended) {
            std::filesystem::resize_file(fromUtf8(path), kLong, ignored);
            std::filesystem::resize_file(fromUtf8(path), kDocument.size(), ignored);
        }
    });
    MessageRecorder recorder;
    for (int i = 0; i < 100; ++i) {
        const LibrarySession library;
        registerPlainFile("core", path);
        const bool value = registeredValue("/a", false, "core");
        EXPECT_EQ(recorder.take(),
                  value ? std::vector<Message>{}
                        : std::vector<Message>{error(loadErrorText("UnableToReadFile", path))});
    }
    ended = true;
    resizing.join();
}

/// How many files and other objects this process holds open.
std::size_t openHandles() {
#if defined(_WIN32)
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
#else
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/fd")) {
        static_cast<void>(entry);
        ++count;
    }
    return count;
#endif
}

TEST(BadFile, IsClosedWhateverItsOutcome) {
    const TempDirectory directory;
    const std::string paths[] = {
        directory.write("good.json", kDocument),
        directory.write("small.json", "{}"),
        directory.write("damaged.json", kDocument + "}"),
        directory.write("notPlain.json", " " + kDocument),
        directory.write("otherSystem.json", R"({"header":{"systemId":"Other"}})"),
        directory.makeDirectory("directory.json"),
        directory.pathOf("missing.json"),
    };
    const MessageRecorder ignored;
    const auto useAll = [&] {
        const LibrarySession library;
        for (const std::string& path : paths) {
            for (int i = 0; i < 20; ++i) {
                registerPlainFile((path + std::to_string(i)).c_str(), path);
                registerPlainFile(path.c_str(), path);
                KLB_RegisterToggle((path + std::to_string(i)).c_str(), false, path.c_str());
            }
        }
    };
    useAll();
    const std::size_t before = openHandles();
    useAll();
    EXPECT_EQ(openHandles(), before);
    // Windows removes no file that is still open.
    for (const char* name : {"good.json", "small.json", "damaged.json", "notPlain.json",
                             "otherSystem.json", "directory.json"}) {
        SCOPED_TRACE(name);
        EXPECT_NO_THROW(directory.remove(name));
    }
}

#if defined(_WIN32)

TEST(BadFile, DeviceIsMissing) {
    const TempDirectory directory;
    expectMissing("\\\\.\\NUL");
    expectMissing(directory.path() + "\\NUL");
}

TEST(BadFile, PipeIsMissing) {
    const std::string name = "\\\\.\\pipe\\klb-test-" + std::to_string(GetCurrentProcessId());
    const HANDLE pipe =
        CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_NOWAIT,
                         PIPE_UNLIMITED_INSTANCES, 4096, 4096, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    expectMissing(name);
    CloseHandle(pipe);
}

TEST(BadFile, FileThatSomeoneElseHasLockedIsMissing) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", kDocument);
    const HANDLE locked = CreateFileW(fromUtf8(path).c_str(), GENERIC_READ, 0, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    expectMissing(path);
    CloseHandle(locked);
    const LibrarySession library;
    registerPlainFile("core", path);
    EXPECT_TRUE(registeredValue("/a", false, "core"));
}

#else

TEST(BadFile, FifoIsMissing) {
    const TempDirectory directory;
    const std::string fifo = directory.pathOf("toggles.json");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    expectMissing(fifo);
}

TEST(BadFile, FifoInPlaceOfTheOverrideFileIsMissing) {
    const TempDirectory directory;
    ASSERT_EQ(mkfifo(directory.pathOf(kOverrideFile).c_str(), 0600), 0);
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            EXPECT_FALSE(registeredValue("/a", false, "core"));
        });
    });
}

TEST(BadFile, DeviceIsMissing) {
    for (const char* device : {"/dev/null", "/dev/zero", "/dev/full", "/dev/urandom", "/dev/tty"}) {
        expectMissing(device);
    }
}

TEST(BadFile, LinkIsWhatItLeadsTo) {
    const TempDirectory directory;
    const std::string file = directory.write("file.json", kDocument);
    const auto link = [&](const std::string& target, const char* name) {
        const std::string path = directory.pathOf(name);
        EXPECT_EQ(symlink(target.c_str(), path.c_str()), 0);
        return path;
    };
    expectMissing(link(directory.path(), "toDirectory"));
    expectMissing(link("/dev/zero", "toDevice"));
    expectMissing(link(directory.pathOf("missing"), "toNothing"));
    expectMissing(link(directory.pathOf("toItself"), "toItself"));

    const LibrarySession library;
    registerPlainFile("core", link(file, "toFile"));
    EXPECT_TRUE(registeredValue("/a", false, "core"));
}

/// An ordinary user's rights, for a test that runs as root; files are then as unreadable as they
/// look.
class OrdinaryUser {
public:
    OrdinaryUser() {
        if (geteuid() == 0) {
            changed_ = seteuid(65534) == 0;
        }
    }
    ~OrdinaryUser() {
        if (changed_ && seteuid(0) != 0) {
            ADD_FAILURE() << "cannot become root again";
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    bool changed_ = false;
};

TEST(BadFile, UnreadableFileIsMissing) {
    const TempDirectory directory;
    const std::string readable = directory.write("readable.json", kDocument);
    const std::string unreadable = directory.write("unreadable.json", kDocument);
    const std::string closed = directory.makeDirectory("closed");
    const std::string behind = directory.write("closed/behind.json", kDocument);
    ASSERT_EQ(chmod(unreadable.c_str(), 0), 0);
    ASSERT_EQ(chmod(closed.c_str(), 0), 0);
    {
        const OrdinaryUser user;
        if (!std::ifstream(readable) || std::ifstream(unreadable) || std::ifstream(behind)) {
            chmod(closed.c_str(), 0700);
            GTEST_SKIP() << "runs as root and cannot give up root's rights: every file is readable";
        }
        expectMissing(unreadable);
        expectMissing(behind);
        const LibrarySession library;
        registerPlainFile("core", readable);
        EXPECT_TRUE(registeredValue("/a", false, "core"));
    }
    ASSERT_EQ(chmod(closed.c_str(), 0700), 0);
}

TEST(BadFile, FileThatIsShorterThanItsSizeCannotBeRead) {
    // The kernel's own files tell a size of one page and hold a few bytes.
    const std::string path = "/sys/devices/system/cpu/possible";
    std::error_code none;
    const std::uintmax_t size = std::filesystem::file_size(path, none);
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    if (none || bytes.empty() || bytes.size() >= size) {
        GTEST_SKIP() << path << " is not there, or as long as its size";
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectError<std::domain_error>(loadErrorText("UnableToReadFile", path), [&] {
            KLB_RegisterToggleFile(KLB_ToggleFileType_Unsupported, "core", path.c_str());
        });
        EXPECT_TRUE(lockIsFree());
    });
    // As a plain one it is passed over for its first byte.
    ASSERT_NE(bytes.front(), '{');
    expectMissing(path);
}

TEST(BadFile, RegularFileWithoutASizeIsTooSmall) {
    const std::string path = "/proc/self/status";
    if (!std::filesystem::is_regular_file(path)) {
        GTEST_SKIP() << path << " is not there";
    }
    expectRefused(path, "FileTooSmall");
}

#endif

} // namespace

} // namespace klb::test
