#ifndef KLB_TESTS_MODEL_DISK_FILE_H
#define KLB_TESTS_MODEL_DISK_FILE_H

#include "json_tree.h"

#include <optional>
#include <string>
#include <vector>

namespace klb::test {

/// One value of a document by its path from the root, such as /features/editor/fastPath.
struct DocumentEntry {
    std::string path;
    JsonValue value;
};

/// A file as the model knows it: what a parser would find in its bytes is told, not read.
struct DiskFile {
    std::string path;
    std::string bytes;
    std::vector<DocumentEntry> entries;
    /// Of bytes that are no JSON document: the error's name and place.
    std::string parseError;
    unsigned long long parseErrorOffset = 0;
};

/// A file with the document that these entries make up. Entries that exclude each other, such as
/// values at /a and at /a/b, are a std::logic_error.
DiskFile documentFile(const std::string& path, const std::vector<DocumentEntry>& entries);

/// A file whose bytes are not JSON from this offset on.
DiskFile damagedFile(const std::string& path, const std::string& bytes, const std::string& error,
                     unsigned long long offset);

/// The value that a toggle file gives a key, if any: below its "features" when it has them.
std::optional<bool> valueInToggleFile(const DiskFile& document, const std::string& key);

/// The value that an override file gives a key, if any: below its root.
std::optional<bool> valueInOverrideFile(const DiskFile& document, const std::string& key);

/// The name of what is wrong with a document's header, or nothing.
std::string headerError(const DiskFile& document, const std::string& systemId);

} // namespace klb::test

#endif
