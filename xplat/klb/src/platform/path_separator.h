#ifndef KLB_PLATFORM_PATH_SEPARATOR_H
#define KLB_PLATFORM_PATH_SEPARATOR_H

#include <string_view>

namespace klb {

/// The separator that a path is written with. Windows paths use the backslash. Elsewhere a path
/// that begins with "/" is a native one and uses "/"; any other is read as a Windows path.
char pathSeparator(std::string_view path) noexcept;

} // namespace klb

#endif
