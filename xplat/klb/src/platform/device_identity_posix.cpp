#include "platform/device_identity_posix.h"

#include "platform/device_identity.h"
#include "platform/input_file.h"

#include <array>
#include <memory>

namespace klb {

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

} // namespace klb
