#ifndef KLB_REGISTRY_FILE_PLACES_H
#define KLB_REGISTRY_FILE_PLACES_H

#include "core/registry.h"
#include "platform/platform.h"

#include <string>
#include <string_view>

namespace klb {

/// Fixes the directory of the override file, once, before anything is registered. A null or empty
/// directory is always thrown, with or without a message callback.
void setOverridePath(Registry& registry, const char* overridePath);

/// The full path of the override file: in the directory that the host chose, else in that of the
/// executable. \throws as getLocalFilePath().
std::string overrideFilePath(const Registry& registry);

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
