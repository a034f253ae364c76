#ifndef KLB_CORE_TOGGLE_DOCUMENT_H
#define KLB_CORE_TOGGLE_DOCUMENT_H

#include "core/json.h"
#include "core/name_index.h"

#include <unordered_map>

namespace klb {

/// A parsed and accepted toggle document. Not synchronised: the library lock guards it.
struct ToggleDocument {
    JsonDocument root;

    /// Where a toggle file's toggles are: the root's "features" member, or else the root itself.
    const JsonValue* toggleTree = nullptr;

    /// The members by name of those objects that have many, each filled when a look-up first
    /// passes it. RapidJSON finds members by comparing one after the other.
    std::unordered_map<const JsonValue*, NameIndex<const JsonValue>> wideObjects;
};

} // namespace klb

#endif
