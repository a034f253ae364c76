#ifndef KLB_PLATFORM_DEVICE_IDENTITY_POSIX_H
#define KLB_PLATFORM_DEVICE_IDENTITY_POSIX_H

#include <optional>
#include <string>

namespace klb {

/// The first line of a file, up to a NUL byte; none when it is empty or cannot be read.
std::optional<std::string> readDeviceIdentity(const std::string& path);

} // namespace klb

#endif
