#include "documents/document_loader.h"

#include "documents/document_parser.h"
#include "documents/parse_errors.h"
#include "trust/crypto_library.h"
#include "trust/decryption.h"
#include "trust/signature.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace klb {

namespace {

constexpr std::size_t kMinFileSize = 10;
constexpr std::uint64_t kMaxFileSize = INT32_MAX;

bool isPlain(KLB_ToggleFileType type) noexcept {
    return type == KLB_ToggleFileType_Supported || type == KLB_ToggleFileType_Override;
}

/// Gives the bytes of a file back when its load ends, however it ends. What was decrypted is
/// overwritten first.
class ContentScope {
public:
    explicit ContentScope(ToggleFileRecord& record) noexcept : record_(record) {}
    ContentScope(const ContentScope&) = delete;
    ContentScope& operator=(const ContentScope&) = delete;
    ~ContentScope() {
        if (!isPlain(record_.type)) {
            const CleanseScope cleansed(record_.content);
        }
        std::vector<char>().swap(record_.content);
    }

private:
    ToggleFileRecord& record_;
};

/// Leaves the file's bytes in the content. A plain file is judged by its first byte before the rest
/// is read: one that is passed over costs each registration the same, however large it is.
bool readContent(ToggleFileRecord& record, const Platform& platform) {
    const std::unique_ptr<InputFile> file = platform.openInputFile(record.path);
    if (!file) {
        record.fileMissing = true;
        return false;
    }
    const auto unreadable = [&record] {
        record.error = "UnableToReadFile";
        return false;
    };
    const std::optional<std::uint64_t> size = file->size();
    if (!size || *size > kMaxFileSize) {
        return unreadable();
    }
    std::array<char, 1> first{};
    const std::size_t judged = isPlain(record.type) && *size >= kMinFileSize ? first.size() : 0;
    if (file->read(first.data(), judged) != judged) {
        return unreadable();
    }
    if (judged != 0 && first.front() != '{') {
        return false;
    }
    record.content.resize(static_cast<std::size_t>(*size));
    std::copy_n(first.begin(), judged, record.content.begin());
    const std::size_t rest = record.content.size() - judged;
    if (file->read(record.content.data() + judged, rest) != rest) {
        return unreadable();
    }
    if (record.content.size() < kMinFileSize) {
        record.error = "FileTooSmall";
        return false;
    }
    return true;
}

/// Leaves the document's text in the content: opens the envelope of a protected file. False when
/// there is none to parse; the record's error may say why.
bool openContent(ToggleFileRecord& record, std::string_view systemId, const Platform& platform) {
    return isPlain(record.type) ||
           (decryptContent(record, systemId) &&
            (record.skipSignatureCheck || verifySignature(record, platform)));
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
    if (textOf(*id) != systemId) {
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

    const ContentScope scope(record);
    if (!readContent(record, platform) || !openContent(record, systemId, platform)) {
        return nullptr;
    }

    auto document = std::make_unique<ToggleDocument>(isPlain(record.type) ? nullptr : cleanse);
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
