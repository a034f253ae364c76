#ifndef KLB_DOCUMENTS_DOCUMENT_LOOKUP_H
#define KLB_DOCUMENTS_DOCUMENT_LOOKUP_H

#include "core/toggle_document.h"

#include <string_view>

namespace klb {

/// The first member of this name, or null. Names are compared by length and bytes. The object must
/// be one of the document's.
const JsonValue* findMember(ToggleDocument& document, const JsonValue& object,
                            std::string_view name);

/// Walks the levels of a toggle key ("/group/feature") down from a tree of the document. Sets
/// `found` and gives the entry's value when the entry is a boolean; otherwise leaves `found` alone,
/// and the result means nothing.
bool lookupDocumentValue(std::string_view key, bool valueInHand, bool& found,
                         ToggleDocument& document, const JsonValue& tree);

} // namespace klb

#endif
