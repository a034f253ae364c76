#ifndef KLB_TRUST_PATH_SERVICES_H
#define KLB_TRUST_PATH_SERVICES_H

#include "platform/platform.h"

#include <string>
#include <string_view>

namespace klb {

/// The directory of the running executable, UTF-8, with its trailing separator. Asks the system at
/// every call.
/// \throws std::runtime_error when the system does not tell, when its answer names no directory,
///     and when it has more than 1040 bytes.
std::string getLocalFilePath(const Platform& platform);

/// The directory shared by support files, UTF-8, with its trailing separator; cut at 1040 bytes.
/// Asks the system at every call.
std::string getSupportDirectory(const Platform& platform);

/// The full path of a toggle file: the support directory goes in front of a name that holds no
/// separator. Nothing else is changed.
std::string resolveToggleFilePath(std::string_view file, const Platform& platform);

} // namespace klb

#endif
