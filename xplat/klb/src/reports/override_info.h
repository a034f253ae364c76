#ifndef KLB_REPORTS_OVERRIDE_INFO_H
#define KLB_REPORTS_OVERRIDE_INFO_H

#include "core/registry.h"

#include <cstdint>

namespace klb {

/// Lists the device identifier, when it is the system identifier, and the toggles that a file set
/// to another value than their default, by file. The result counts bytes, NUL included; an empty
/// text is 0 bytes and leaves the buffer alone.
std::uint64_t getOverrideInfoString(const Registry& registry, char* buffer,
                                    std::uint64_t bufferSize);

} // namespace klb

#endif
