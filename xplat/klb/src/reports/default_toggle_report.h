#ifndef KLB_REPORTS_DEFAULT_TOGGLE_REPORT_H
#define KLB_REPORTS_DEFAULT_TOGGLE_REPORT_H

#include "core/json.h"
#include "core/registry.h"

#include <cstdint>

namespace klb {

/// Describes the module that asks, the toggle files and all toggles with their defaults as a JSON
/// text. The document is built anew in `document`, whose pool keeps the memory of the earlier ones
/// until it is destroyed. The result counts bytes, NUL included. \throws std::length_error for a
/// text beyond 1 GiB.
std::uint64_t buildDefaultToggleJson(const Registry& registry, JsonDocument& document,
                                     const char* moduleName, const char* moduleVersion,
                                     char* buffer, std::uint64_t bufferSize);

} // namespace klb

#endif
