#ifndef KLB_PLATFORM_EXECUTABLE_PATH_H
#define KLB_PLATFORM_EXECUTABLE_PATH_H

#include <optional>
#include <string>

namespace klb {

/// The full file name, UTF-8, of the executable that this process runs; none when the platform
/// cannot tell. On Windows a name of more than 522 UTF-16 units comes back cut.
std::optional<std::string> executablePath();

} // namespace klb

#endif
