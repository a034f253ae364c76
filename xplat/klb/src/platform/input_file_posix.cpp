#include "platform/input_file.h"

#include "platform/path_separator.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace klb {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int value) noexcept : value_(value) {}
    FileDescriptor(FileDescriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor() {
        if (value_ >= 0) {
            ::close(value_);
        }
    }

    int get() const noexcept {
        return value_;
    }

private:
    int value_;
};

class PosixInputFile final : public InputFile {
public:
    explicit PosixInputFile(FileDescriptor file) noexcept : file_(std::move(file)) {}

    std::optional<std::uint64_t> size() override {
        struct stat status {};
        if (::fstat(file_.get(), &status) != 0 || status.st_size < 0) {
            return std::nullopt;
        }
        return static_cast<std::uint64_t>(status.st_size);
    }

    // The system hands out a little less than 2 GiB at a time, so one request may take two calls.
    std::size_t read(char* buffer, std::size_t count) override {
        std::size_t total = 0;
        while (total < count) {
            const ssize_t got = ::read(file_.get(), buffer + total, count - total);
            if (got > 0) {
                total += static_cast<std::size_t>(got);
            } else if (got == 0 || errno != EINTR) {
                break;
            }
        }
        return total;
    }

private:
    FileDescriptor file_;
};

std::string nativeName(std::string path) {
    if (pathSeparator(path) == '\\') {
        std::replace(path.begin(), path.end(), '\\', '/');
    }
    return path;
}

// The first attempt to open a leased file asks for the lease; the system takes it away after
// 45 seconds at the latest, unless the machine's owner chose another time.
constexpr std::chrono::milliseconds kLeasePause{10};
constexpr int kLeasePauses = 5'000;

int openForReading(const char* name) {
    for (int pauses = 0;;) {
        // Without O_NONBLOCK, opening a pipe would wait for its writer.
        const int result = ::open(name, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        if (result >= 0) {
            return result;
        }
        if (errno == EWOULDBLOCK && pauses < kLeasePauses) {
            std::this_thread::sleep_for(kLeasePause);
            ++pauses;
        } else if (errno != EINTR) {
            return result;
        }
    }
}

bool isRegularFile(const char* name) {
    struct stat status {};
    return ::stat(name, &status) == 0 && S_ISREG(status.st_mode);
}

bool isRegularFile(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

std::unique_ptr<InputFile> openInputFile(const std::string& path) {
    const std::string name = nativeName(path);
    // Asked twice: opening a device may do something, and the name may change its meaning.
    if (!isRegularFile(name.c_str())) {
        return nullptr;
    }
    FileDescriptor file(openForReading(name.c_str()));
    if (file.get() < 0 || !isRegularFile(file.get())) {
        return nullptr;
    }
    return std::make_unique<PosixInputFile>(std::move(file));
}

} // namespace klb
