#include "temp_directory.h"

#include "paths.h"

#include <fstream>
#include <random>
#include <stdexcept>

namespace klb::test {

namespace fs = std::filesystem;

TempDirectory::TempDirectory() {
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() / ("klb-test-" + std::to_string(random()));
    } while (!fs::create_directory(path_));
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempDirectory::path() const {
    return toUtf8(path_);
}

std::string TempDirectory::pathOf(std::string_view name) const {
    return toUtf8((path_ / fromUtf8(name)).make_preferred());
}

std::string TempDirectory::write(std::string_view name, std::string_view bytes) const {
    std::ofstream file(path_ / fromUtf8(name), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + pathOf(name));
    }
    return pathOf(name);
}

std::string TempDirectory::makeDirectory(std::string_view name) const {
    fs::create_directories(path_ / fromUtf8(name));
    return pathOf(name);
}

void TempDirectory::remove(std::string_view name) const {
    fs::remove(path_ / fromUtf8(name));
}

} // namespace klb::test
