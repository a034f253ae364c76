#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
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

FileDescriptor open(const std::string& name, int flags) {
    int file = -1;
    do {
        file = ::open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY);
    } while (file < 0 && errno == EINTR);
    return FileDescriptor(file);
}

bool isRegularFile(const FileDescriptor& file) {
    struct stat status {};
    return file.get() >= 0 && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

std::unique_ptr<InputFile> openInputFile(const std::string& path) {
    std::string name = path;
    if (pathSeparator(path) == '\\') {
        std::replace(name.begin(), name.end(), '\\', '/');
    }
    // Opening a device may do something, and opening a pipe waits for its writer. So the file is
    // found first, and then opened by what was found: its name may mean something else by now.
    const FileDescriptor found = open(name, O_PATH);
    if (!isRegularFile(found)) {
        return nullptr;
    }
    FileDescriptor file = open("/proc/self/fd/" + std::to_string(found.get()), O_RDONLY);
    if (!isRegularFile(file)) {
        return nullptr;
    }
    return std::make_unique<PosixInputFile>(std::move(file));
}

std::optional<std::string> executablePath() {
    std::string name(256, '\0');
    for (;;) {
        const ssize_t length = ::readlink("/proc/self/exe", name.data(), name.size());
        if (length < 0) {
            return std::nullopt;
        }
        if (static_cast<std::size_t>(length) < name.size()) {
            name.resize(static_cast<std::size_t>(length));
            return name;
        }
        name.resize(2 * name.size());
    }
}

std::optional<std::string> expandEnvironment(std::string_view pattern) {
    const std::size_t end = pattern.find('%', 1);
    const std::string name(pattern.substr(1, end - 1));
    const char* value = std::getenv(name.c_str());
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    return std::string(value).append(pattern.substr(end + 1));
}

std::optional<std::string> deviceIdentity() {
    return readDeviceIdentity("/etc/machine-id");
}

std::optional<std::string> readDeviceIdentity(const std::string& path) {
    const std::unique_ptr<InputFile> file = openInputFile(path);
    if (!file) {
        return std::nullopt;
    }
    // An identifier has 32 characters; more than this are of no use to any caller.
    std::array<char, 256> bytes{};
    const std::string text(bytes.data(), file->read(bytes.data(), bytes.size()));
    const std::string line = text.substr(0, text.find_first_of(std::string("\n\0", 2)));
    if (line.empty()) {
        return std::nullopt;
    }
    return line;
}

const SupportDirectory kSupportDirectory{"%PROGRAMDATA%/Mosk/Support/", "/var/lib/Mosk/Support/"};

char pathSeparator(std::string_view path) noexcept {
    return path.starts_with('/') ? '/' : '\\';
}

} // namespace klb
