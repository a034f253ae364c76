#include "disk_file.h"

#include <cstddef>
#include <stdexcept>

namespace klb::test {

DiskFile documentFile(const std::string& path, const std::vector<DocumentEntry>& entries) {
    DiskFile file;
    file.path = path;
    for (const DocumentEntry& entry : entries) {
        if (!placeAt(file.text.root, entry.path, entry.value)) {
            throw std::logic_error("no document has " + entry.path + " beside the entries before");
        }
    }
    file.bytes = jsonText(file.text.root);
    return file;
}

DiskFile damagedFile(const std::string& path, const std::string& bytes, const std::string& error,
                     unsigned long long offset) {
    DiskFile file;
    file.path = path;
    file.bytes = bytes;
    file.text.error = error;
    file.text.errorOffset = offset;
    return file;
}

std::optional<bool> valueInToggleFile(const JsonValue& root, const std::string& key) {
    const JsonValue* features = root.find("features");
    return valueInOverrideFile(features != nullptr ? *features : root, key);
}

std::optional<bool> valueInOverrideFile(const JsonValue& root, const std::string& key) {
    if (!key.starts_with('/') || !root.isObject()) {
        return std::nullopt;
    }
    const std::string rest = key.substr(1);
    const std::size_t slash = rest.find('/');
    const JsonValue* member = root.find(rest.substr(0, slash));
    if (member == nullptr) {
        return std::nullopt;
    }
    if (slash != std::string::npos) {
        return valueInOverrideFile(*member, rest.substr(slash));
    }
    if (member->kind == JsonValue::Kind::Literal && member->text == "true") {
        return true;
    }
    if (member->kind == JsonValue::Kind::Literal && member->text == "false") {
        return false;
    }
    return std::nullopt;
}

std::string documentError(const JsonValue& root, const std::string& systemId) {
    if (!root.isObject()) {
        return "ErrorDocumentRootMustBeObject";
    }
    const JsonValue* header = root.find("header");
    if (header == nullptr) {
        return "";
    }
    if (!header->isObject()) {
        return "ErrorHeaderRootMustBeObject";
    }
    const JsonValue* identifier = header->find("systemId");
    if (identifier == nullptr || identifier->kind != JsonValue::Kind::String) {
        return "ErrorSystemIdMustBeString";
    }
    return identifier->text == systemId ? "" : "ErrorSystemIdDoesNotMatch";
}

} // namespace klb::test
