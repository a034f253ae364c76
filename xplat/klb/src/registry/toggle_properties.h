#ifndef KLB_REGISTRY_TOGGLE_PROPERTIES_H
#define KLB_REGISTRY_TOGGLE_PROPERTIES_H

#include "core/registry.h"

#include <string_view>

namespace klb {

// Names of properties are constants of the library; records refer to them.

/// Gives a toggle a property, which the memory keeps. The first value of a name stays: a later one
/// is dropped silently.
void addProperty(ToggleRecord& toggle, std::string_view name, std::string_view value,
                 std::pmr::memory_resource& memory);

/// Gives the toggle of a key a property.
void addToggleProperty(Registry& registry, const char* key, std::string_view name,
                       const char* value);

} // namespace klb

#endif
