#ifndef KLB_TRUST_OVERRIDE_PATH_H
#define KLB_TRUST_OVERRIDE_PATH_H

#include "core/registry.h"

#include <string>

namespace klb {

/// Fixes the directory of the override file, once, before anything is registered. A null or empty
/// directory is always thrown, with or without a message callback.
void setOverridePath(Registry& registry, const char* overridePath);

/// The full path of the override file: in the directory that the host chose, else in that of the
/// executable. \throws as getLocalFilePath().
std::string overrideFilePath(const Registry& registry);

} // namespace klb

#endif
