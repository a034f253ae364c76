#include "trust/path_services.h"

#include <stdexcept>

namespace klb {

namespace {

constexpr std::size_t kMaxDirectoryLength = 1040;

} // namespace

std::string getLocalFilePath(const Platform& platform) {
    std::optional<std::string> path = platform.executablePath();
    if (!path) {
        throw std::runtime_error("getLocalFilePath: cannot get module file name path.");
    }
    const std::size_t separator = path->rfind(pathSeparator(*path));
    if (path->size() > kMaxDirectoryLength || separator == std::string::npos) {
        throw std::runtime_error("getProcessDir: Invalid path.");
    }
    path->resize(separator + 1);
    return *std::move(path);
}

std::string getSupportDirectory(const Platform& platform) {
    std::optional<std::string> directory = platform.expandEnvironment(kSupportDirectory.pattern);
    if (!directory) {
        return std::string(kSupportDirectory.fallback);
    }
    if (directory->size() > kMaxDirectoryLength) {
        directory->resize(kMaxDirectoryLength);
    }
    return *std::move(directory);
}

std::string resolveToggleFilePath(std::string_view file, const Platform& platform) {
    if (file.find(pathSeparator(file)) != std::string_view::npos) {
        return std::string(file);
    }
    return getSupportDirectory(platform).append(file);
}

} // namespace klb
