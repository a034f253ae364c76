#include "documents/document_loader.h"

#include "documents/document_parser.h"
#include "documents/parse_errors.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace klb {

namespace {

constexpr std::size_t kMinFileSize = 10;
constexpr std::uint64_t kMaxFileSize = std::numeric_limits<std::int32_t>::max();

/// Gives the bytes of a file back when its load ends, however it ends.
class ContentScope {
public:
    explicit ContentScope(std::vector<char>& content) noexcept : content_(content) {}
    ContentScope(const ContentScope&) = delete;
    ContentScope& operator=(const ContentScope&) = delete;
    ~ContentScope() {
        std::vector<char>().swap(content_);
    }

private:
    std::vector<char>& content_;
};

bool isPlain(KLB_ToggleFileType type) noexcept {
    return type == KLB_ToggleFileType_Supported || type == KLB_ToggleFileType_Override;
}

bool readContent(ToggleFileRecord& record, const Platform& platform) {
    const std::unique_ptr<InputFile> file = platform.openInputFile(record.path);
    if (!file) {
        record.fileMissing = true;
        return false;
    }
    const std::optional<std::uint64_t> size = file->size();
    if (!size || *size > kMaxFileSize) {
        record.error = "UnableToReadFile";
        return false;
    }
    record.content.resize(static_cast<std::size_t>(*size));
    if (file->read(record.content.data(), record.content.size()) < record.content.size()) {
        record.error = "UnableToReadFile";
        return false;
    }
    if (record.content.size() < kMinFileSize) {
        record.error = "FileTooSmall";
        return false;
    }
    return true;
}

const JsonValue* findFirst(const JsonValue& object, const char* name) {
    const auto member = object.FindMember(name);
    return member != object.MemberEnd() ? &member->value : nullptr;
}

/// The name of what keeps the document from being accepted; null when it is.
const char* findDocumentError(const JsonValue& root, std::string_view systemId) {
    if (!root.IsObject()) {
        return "ErrorDocumentRootMustBeObject";
    }
    const JsonValue* header = findFirst(root, "header");
    if (header == nullptr) {
        return nullptr;
    }
    if (!header->IsObject()) {
        return "ErrorHeaderRootMustBeObject";
    }
    const JsonValue* id = findFirst(*header, "systemId");
    if (id == nullptr || !id->IsString()) {
        return "ErrorSystemIdMustBeString";
    }
    if (std::string_view(id->GetString(), id->GetStringLength()) != systemId) {
        return "ErrorSystemIdDoesNotMatch";
    }
    return nullptr;
}

} // namespace

ToggleDocument* loadToggleDocument(ToggleFileRecord& record, std::string_view systemId,
                                   const Platform& platform) {
    if (record.fileMissing || !record.error.empty()) {
        return nullptr;
    }
    if (record.document) {
        return record.document.get();
    }
    if (record.path.empty()) {
        return nullptr;
    }

    const ContentScope scope(record.content);
    if (!readContent(record, platform)) {
        return nullptr;
    }
    if (!isPlain(record.type) || record.content.front() != '{') {
        return nullptr;
    }

    auto document = std::make_unique<ToggleDocument>();
    if (const rapidjson::ParseResult result = parseDocument(record.content, document->root);
        result.IsError()) {
        record.error = parseErrorName(result.Code());
        record.errorOffset = result.Offset();
        return nullptr;
    }
    if (const char* error = findDocumentError(document->root, systemId)) {
        record.error = error;
        return nullptr;
    }
    const JsonValue* features = findFirst(document->root, "features");
    document->toggleTree = features != nullptr ? features : &document->root;
    record.document = std::move(document);
    return record.document.get();
}

} // namespace klb
