#ifndef KLB_REGISTRY_TOGGLE_PROPERTIES_H
#define KLB_REGISTRY_TOGGLE_PROPERTIES_H

#include "core/records.h"

namespace klb {

/// The toggle's properties as a JSON object, in the order in which they came to be. They are facts
/// of the record, so they are not kept twice; names and texts are copied into the pool.
JsonValue toggleProperties(const ToggleRecord& toggle, JsonPool& pool);

} // namespace klb

#endif
