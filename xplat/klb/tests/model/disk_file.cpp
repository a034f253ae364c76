#include "disk_file.h"

#include <stdexcept>

namespace klb::test {

namespace {

const DocumentEntry* findEntry(const DiskFile& document, const std::string& path) {
    for (const DocumentEntry& entry : document.entries) {
        if (entry.path == path) {
            return &entry;
        }
    }
    return nullptr;
}

/// Whether something, or something below it, is at this path.
bool hasMember(const DiskFile& document, const std::string& path) {
    for (const DocumentEntry& entry : document.entries) {
        if (entry.path == path || entry.path.starts_with(path + "/")) {
            return true;
        }
    }
    return false;
}

/// The boolean that a document gives for a key below one of its members, or below its root.
std::optional<bool> entryValue(const DiskFile& document, const std::string& top,
                               const std::string& key) {
    if (!key.starts_with('/')) {
        return std::nullopt;
    }
    const DocumentEntry* entry = findEntry(document, top + key);
    if (entry != nullptr && entry->value.kind == JsonValue::Kind::Literal) {
        if (entry->value.text == "true") {
            return true;
        }
        if (entry->value.text == "false") {
            return false;
        }
    }
    return std::nullopt;
}

} // namespace

DiskFile documentFile(const std::string& path, const std::vector<DocumentEntry>& entries) {
    JsonValue root;
    for (const DocumentEntry& entry : entries) {
        if (!placeAt(root, entry.path, entry.value)) {
            throw std::logic_error("no document has " + entry.path + " beside the entries before");
        }
    }
    DiskFile file;
    file.path = path;
    file.bytes = jsonText(root);
    file.entries = entries;
    return file;
}

DiskFile damagedFile(const std::string& path, const std::string& bytes, const std::string& error,
                     unsigned long long offset) {
    DiskFile file;
    file.path = path;
    file.bytes = bytes;
    file.parseError = error;
    file.parseErrorOffset = offset;
    return file;
}

std::optional<bool> valueInToggleFile(const DiskFile& document, const std::string& key) {
    return entryValue(document, hasMember(document, "/features") ? "/features" : "", key);
}

std::optional<bool> valueInOverrideFile(const DiskFile& document, const std::string& key) {
    return entryValue(document, "", key);
}

std::string headerError(const DiskFile& document, const std::string& systemId) {
    if (!hasMember(document, "/header")) {
        return "";
    }
    const DocumentEntry* header = findEntry(document, "/header");
    if (header != nullptr && !header->value.isObject()) {
        return "ErrorHeaderRootMustBeObject";
    }
    const DocumentEntry* identifier = findEntry(document, "/header/systemId");
    if (identifier == nullptr || identifier->value.kind != JsonValue::Kind::String) {
        return "ErrorSystemIdMustBeString";
    }
    return identifier->value.text == systemId ? "" : "ErrorSystemIdDoesNotMatch";
}

} // namespace klb::test
