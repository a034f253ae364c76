#ifndef KLB_TESTS_SUPPORT_PATHS_H
#define KLB_TESTS_SUPPORT_PATHS_H

#include <filesystem>
#include <string>
#include <string_view>

namespace klb::test {

/// The path that this UTF-8 text names.
std::filesystem::path fromUtf8(std::string_view text);

/// The path as UTF-8 text.
std::string toUtf8(const std::filesystem::path& path);

/// The directory of this program's executable, with a trailing separator.
std::string executableDirectory();

} // namespace klb::test

#endif
