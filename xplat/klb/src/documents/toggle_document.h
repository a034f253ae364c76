#ifndef KLB_DOCUMENTS_TOGGLE_DOCUMENT_H
#define KLB_DOCUMENTS_TOGGLE_DOCUMENT_H

#include "core/json.h"
#include "core/name_index.h"

#include <optional>
#include <string_view>
#include <unordered_map>

namespace klb {

using MemberIndex = NameIndex<const JsonMember, SeededNameHash>;

/// A parsed and accepted toggle document. Not synchronised: the library lock guards it.
struct ToggleDocument {
    JsonDocument root;

    /// Where a toggle file's toggles are: the root's "features" member or, without one, the root.
    const JsonValue* toggleTree = nullptr;

    /// Indexes of objects with many members, each filled when a look-up first passes the object:
    /// RapidJSON finds a member by comparing one after the other.
    std::unordered_map<const JsonValue*, MemberIndex> wideObjects;
};

/// The first member of this name, or null. Names are compared by length and bytes. The object must
/// belong to the document.
const JsonValue* findMember(ToggleDocument& document, const JsonValue& object,
                            std::string_view name);

/// Walks the levels of a toggle key ("/group/feature") down from a tree of the document. The value
/// of the boolean at the end; none when there is anything else, or nothing.
std::optional<bool> lookupDocumentValue(std::string_view key, ToggleDocument& document,
                                        const JsonValue& tree);

} // namespace klb

#endif
