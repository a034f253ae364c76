#ifndef KLB_TESTS_SUPPORT_TEMP_DIRECTORY_H
#define KLB_TESTS_SUPPORT_TEMP_DIRECTORY_H

#include <filesystem>
#include <string>
#include <string_view>

namespace klb::test {

/// A new empty directory, removed with all its content in the end.
class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    /// Its full path in the platform's form, without a trailing separator.
    std::string path() const;

    /// The full path of an entry, whether or not it exists. Both the path and the name are UTF-8.
    std::string pathOf(std::string_view name) const;

    /// Writes a file, in place of an earlier one, and gives its full path.
    std::string write(std::string_view name, std::string_view bytes) const;

    /// Makes a subdirectory and gives its full path.
    std::string makeDirectory(std::string_view name) const;

    /// Removes a file or an empty directory.
    void remove(std::string_view name) const;

private:
    std::filesystem::path path_;
};

/// The separator that paths of this platform are written with: "\" or "/".
constexpr char kSeparator = static_cast<char>(std::filesystem::path::preferred_separator);

} // namespace klb::test

#endif
