#ifndef KLB_REGISTRY_SETTINGS_H
#define KLB_REGISTRY_SETTINGS_H

#include "registry/registry.h"

#include <string>
#include <string_view>

namespace klb {

/// Sets the directory of the override file, once, before anything is registered. A null or empty
/// directory always throws, with or without a message callback.
void setOverridePath(Registry& registry, const char* overridePath);

/// Sets the certificate that signers of protected files are checked against, once, before anything
/// is registered. Null switches the check off, until a later call with a text.
void setCertificateData(Registry& registry, const char* certificateData);

/// The full path of the override file: in the directory that the host chose or, without one, in
/// that of the executable. \throws as getLocalFilePath().
std::string overrideFilePath(const Registry& registry);

/// The full path of a toggle file: a name without a separator is in the support directory. Nothing
/// else is changed.
std::string resolveToggleFilePath(std::string_view file, const Platform& platform);

/// The directory of the running executable, UTF-8, with its trailing separator. Asks the system at
/// every call.
/// \throws std::runtime_error when the system does not tell, when its answer names no directory,
///     and when it is longer than 1040 bytes.
std::string getLocalFilePath(const Platform& platform);

/// The directory that support files share, UTF-8, with its trailing separator; cut at 1040 bytes.
/// Asks the system at every call.
std::string getSupportDirectory(const Platform& platform);

} // namespace klb

#endif
