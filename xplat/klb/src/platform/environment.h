#ifndef KLB_PLATFORM_ENVIRONMENT_H
#define KLB_PLATFORM_ENVIRONMENT_H

#include <optional>
#include <string>
#include <string_view>

namespace klb {

/// How this platform names the directory that programs share support files in: a pattern with
/// environment references, and the directory to use when it cannot be expanded.
struct SupportDirectory {
    std::string_view pattern;
    std::string_view fallback;
};
extern const SupportDirectory kSupportDirectory;

/// Expands a pattern of the form "%NAME%rest". On Windows an undefined variable stays in the text
/// and a text of more than 259 UTF-16 units is cut; elsewhere an undefined or empty variable gives
/// none.
std::optional<std::string> expandEnvironment(std::string_view pattern);

} // namespace klb

#endif
