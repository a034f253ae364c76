#ifndef KLB_PLATFORM_DEVICE_IDENTITY_H
#define KLB_PLATFORM_DEVICE_IDENTITY_H

#include <optional>
#include <string>

namespace klb {

/// The identifier of this computer that its operating system keeps: on Windows the machine GUID of
/// the 64-bit registry view without its dashes, elsewhere the first line of /etc/machine-id. None
/// when it is empty or cannot be read.
std::optional<std::string> deviceIdentity();

} // namespace klb

#endif
