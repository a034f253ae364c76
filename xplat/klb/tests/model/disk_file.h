#ifndef KLB_TESTS_MODEL_DISK_FILE_H
#define KLB_TESTS_MODEL_DISK_FILE_H

#include "json_tree.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace klb::test {

/// What a parser finds in a text.
struct ParsedText {
    JsonValue root = {};
    /// Of a text that is no JSON document: the error's name and place.
    std::string error = {};
    unsigned long long errorOffset = 0;
};

/// What is in a protected file.
struct Envelope {
    /// The system identifier that it was made for.
    std::string systemId;
    /// The first bytes of what is inside; nothing when there is nothing, whatever the key.
    std::string beginning;
    ParsedText text = {};
    /// Of a signed message: what is wrong with it, whoever is trusted.
    std::string messageError = {};
    /// Of a signed message: the names of the certificates by which it is verified, any one of them.
    std::vector<std::string> trustedBy = {};
    /// What the keys of other systems make of it, as far as that is known: a text that begins with
    /// "{" by chance, or nothing of the kind.
    std::map<std::string, std::optional<ParsedText>> byOtherKeys = {};
};

/// A file as the model knows it: what would be found in its bytes is told, not read.
struct DiskFile {
    std::string path = {};
    std::string bytes = {};
    /// As a plain document.
    ParsedText text = {};
    std::optional<Envelope> envelope = {};
    /// As a protected file, when it has no envelope.
    std::string envelopeError = "error reading input file\n";
    /// The names of the certificates in it.
    std::vector<std::string> certificates = {};
};

/// One value of a document by its path from the root, such as /features/editor/fastPath.
struct DocumentEntry {
    std::string path;
    JsonValue value;
};

/// A file with the document that these entries make up. Entries that exclude each other, such as
/// values at /a and at /a/b, are a std::logic_error.
DiskFile documentFile(const std::string& path, const std::vector<DocumentEntry>& entries);

/// A file whose bytes are not JSON from this offset on.
DiskFile damagedFile(const std::string& path, const std::string& bytes, const std::string& error,
                     unsigned long long offset);

/// The value that a toggle file gives a key, if any: below its "features" when it has them.
std::optional<bool> valueInToggleFile(const JsonValue& root, const std::string& key);

/// The value that an override file gives a key, if any: below its root.
std::optional<bool> valueInOverrideFile(const JsonValue& root, const std::string& key);

/// The name of what is wrong with a document, or nothing.
std::string documentError(const JsonValue& root, const std::string& systemId);

} // namespace klb::test

#endif
