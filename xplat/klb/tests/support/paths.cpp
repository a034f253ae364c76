#include "paths.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace klb::test {

std::filesystem::path fromUtf8(std::string_view text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string toUtf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::string executableDirectory() {
#if defined(_WIN32)
    wchar_t name[1024] = {};
    GetModuleFileNameW(nullptr, name, 1023);
    const std::filesystem::path executable = name;
#else
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe");
#endif
    return toUtf8(executable.parent_path() / "");
}

} // namespace klb::test
