#ifndef KLB_DOCUMENTS_DOCUMENT_LOADER_H
#define KLB_DOCUMENTS_DOCUMENT_LOADER_H

#include "documents/toggle_document.h"
#include "platform/platform.h"
#include "trust/certificate.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace klb {

/// What loading a file gave: a document, or why there is none.
struct LoadResult {
    std::unique_ptr<ToggleDocument> document;
    /// The name of the error; empty when there is none.
    std::string error;
    /// Where a parse error is, in bytes; 0 for every other error.
    std::uint64_t errorOffset = 0;
    /// Set when the file could not be opened.
    bool fileMissing = false;

    /// Whether loading the file again is pointless. A file that was passed over, without a document
    /// and without an error, may be another one next time.
    bool isFinal() const noexcept {
        return document || fileMissing || !error.empty();
    }
};

/// Loads a toggle file: reads it, opens the envelope of a protected one, parses it and checks that
/// it is a toggle document for this system. Throws nothing but std::bad_alloc.
LoadResult loadToggleDocument(const std::string& path, bool isProtected, std::string_view systemId,
                              const SignerCheck& signers, const Platform& platform);

} // namespace klb

#endif
