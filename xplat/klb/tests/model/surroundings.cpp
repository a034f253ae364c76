#include "surroundings.h"

#include "temp_directory.h"

#include <algorithm>
#include <cstddef>

namespace klb::test {

namespace {

bool isFullPosixPath(const std::string& path) {
    return kSeparator == '/' && path.starts_with('/');
}

/// The path with "/" as its only separator and without detours.
std::string straightened(std::string path) {
    if (!isFullPosixPath(path)) {
        std::replace(path.begin(), path.end(), '\\', '/');
    }
    std::vector<std::string> names;
    std::size_t begin = 0;
    while (begin <= path.size()) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string name = path.substr(begin, end - begin);
        if (name == ".." && !names.empty()) {
            names.pop_back();
        } else if (!name.empty() && name != ".") {
            names.push_back(name);
        }
        begin = end + 1;
    }
    std::string straight = path.starts_with('/') ? "/" : "";
    for (const std::string& name : names) {
        straight += name + "/";
    }
    return straight;
}

} // namespace

const DiskFile* openedFile(const Surroundings& surroundings, const std::string& path) {
    const std::string wanted = straightened(path);
    for (const DiskFile& file : surroundings.files) {
        if (straightened(file.path) == wanted) {
            return &file;
        }
    }
    return nullptr;
}

} // namespace klb::test
