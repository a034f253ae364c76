#ifndef KLB_PLATFORM_PLATFORM_H
#define KLB_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace klb {

// What the library asks of the operating system; platform_posix.cpp and platform_windows.cpp
// implement it.

/// A regular file open for reading, positioned at its start.
class InputFile {
public:
    InputFile() = default;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    virtual ~InputFile() = default;

    /// The size in bytes; none when the platform cannot tell.
    virtual std::optional<std::uint64_t> size() = 0;

    /// Reads up to `count` bytes into `buffer` and returns how many arrived; fewer only at the end
    /// of the file or after a read error.
    virtual std::size_t read(char* buffer, std::size_t count) = 0;
};

/// Opens the file with this UTF-8 path; null when it cannot be opened or is no regular file. Never
/// waits for the writer of a pipe; on Linux waits until another process gives its lease on the file
/// back, which the system takes away after a minute at the latest. Outside Windows a backslash in a
/// path that is not native is read as "/".
std::unique_ptr<InputFile> openInputFile(const std::string& path);

/// The full file name, UTF-8, of the executable that this process runs; none when the platform
/// cannot tell. On Windows a name of more than 522 UTF-16 units comes back cut.
std::optional<std::string> executablePath();

/// Expands a pattern of the form "%NAME%rest". On Windows an undefined variable stays in the text
/// and a text of more than 259 UTF-16 units is cut; elsewhere an undefined or empty variable gives
/// none.
std::optional<std::string> expandEnvironment(std::string_view pattern);

/// The identifier of this computer that its operating system keeps: on Windows the machine GUID of
/// the 64-bit registry view without its dashes, elsewhere the first line of /etc/machine-id. None
/// when it is empty or cannot be read.
std::optional<std::string> deviceIdentity();

/// The services that the library calls while it runs, each replaceable in tests.
struct Platform {
    std::optional<std::string> (*executablePath)();
    std::optional<std::string> (*expandEnvironment)(std::string_view pattern);
    std::unique_ptr<InputFile> (*openInputFile)(const std::string& path);
    std::optional<std::string> (*deviceIdentity)();
};

inline constexpr Platform kNativePlatform{executablePath, expandEnvironment, openInputFile,
                                          deviceIdentity};

/// How this platform names the directory that programs share support files in: a pattern with
/// environment references, and the directory to use when it cannot be expanded.
struct SupportDirectory {
    std::string_view pattern;
    std::string_view fallback;
};
extern const SupportDirectory kSupportDirectory;

/// The separator that a path is written with. Windows paths use the backslash. Elsewhere a path
/// that begins with "/" is a native one and uses "/"; any other is read as a Windows path.
char pathSeparator(std::string_view path) noexcept;

#if defined(_WIN32)
/// The UTF-8 form of a UTF-16 text, up to its first zero unit; empty when it cannot be converted.
std::string toUtf8(std::wstring_view text);

/// The UTF-16 form of a UTF-8 text, up to its first zero byte; empty when it cannot be converted.
std::wstring toUtf16(const std::string& text);
#else
/// The first line of a file, up to a NUL byte; none when it is empty or cannot be read.
std::optional<std::string> readDeviceIdentity(const std::string& path);
#endif

} // namespace klb

#endif
