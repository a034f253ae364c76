#ifndef KLB_REPORTS_OVERRIDE_INFO_H
#define KLB_REPORTS_OVERRIDE_INFO_H

#include "registry/registry.h"

#include <cstdint>

namespace klb {

/// Lists the device identifier, when it is the system identifier, and the toggles that a file set
/// to another value than their default, by file. Returns a number of bytes, NUL included; if there
/// is nothing to list, it is 0 and the buffer stays as it is.
std::uint64_t getOverrideInfoString(const Registry& registry, char* buffer,
                                    std::uint64_t bufferSize);

} // namespace klb

#endif
