#ifndef KLB_DOCUMENTS_DOCUMENT_LOADER_H
#define KLB_DOCUMENTS_DOCUMENT_LOADER_H

#include "core/records.h"
#include "platform/platform.h"

#include <string_view>

namespace klb {

/// The record's document, loaded from its file when that has not been done yet; null when there is
/// none. A load that fails for a reason with a name leaves the name in the record and is final, and
/// so is a missing file. Any other failure is tried again by the next call, file reading included.
/// Throws nothing but std::bad_alloc, which leaves the record as if the call had not been made.
ToggleDocument* loadToggleDocument(ToggleFileRecord& record, std::string_view systemId,
                                   const Platform& platform);

} // namespace klb

#endif
