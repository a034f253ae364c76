#ifndef KLB_PLATFORM_INPUT_FILE_H
#define KLB_PLATFORM_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace klb {

/// A regular file open for reading, positioned at its start.
class InputFile {
public:
    InputFile() = default;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    virtual ~InputFile() = default;

    /// The size in bytes; none when the platform cannot tell.
    virtual std::optional<std::uint64_t> size() = 0;

    /// Reads up to `count` bytes into `buffer` and gives how many arrived; fewer only at the end of
    /// the file or after a read error.
    virtual std::size_t read(char* buffer, std::size_t count) = 0;
};

/// Opens the file with this UTF-8 path; null when it cannot be opened or is no regular file. Never
/// waits for a writer of a pipe; outside Windows waits up to a minute for another process to give
/// its lease on the file back. Outside Windows a backslash in a path that is not native is read as
/// "/".
std::unique_ptr<InputFile> openInputFile(const std::string& path);

} // namespace klb

#endif
