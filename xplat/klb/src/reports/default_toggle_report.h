#ifndef KLB_REPORTS_DEFAULT_TOGGLE_REPORT_H
#define KLB_REPORTS_DEFAULT_TOGGLE_REPORT_H

#include "registry/registry.h"

#include <cstdint>

namespace klb {

/// Describes the module that asks, the toggle files and all toggles with their defaults as a JSON
/// text. The document is built in `document`, whose pool keeps the memory of earlier ones until it
/// is destroyed. Returns a number of bytes, NUL included. Throws nothing but std::bad_alloc, before
/// it writes anything.
std::uint64_t buildDefaultToggleJson(const Registry& registry, JsonDocument& document,
                                     const char* moduleName, const char* moduleVersion,
                                     char* buffer, std::uint64_t bufferSize);

} // namespace klb

#endif
