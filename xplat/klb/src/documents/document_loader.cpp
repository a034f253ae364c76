#include "documents/document_loader.h"

#include "documents/document_parser.h"
#include "trust/decryption.h"
#include "trust/signature.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace klb {

namespace {

constexpr std::size_t kMinFileSize = 10;
constexpr std::uint64_t kMaxFileSize = INT32_MAX;

/// The bytes of a file; without them the result says why, unless the file is passed over. Judges a
/// plain file by its first byte before it reads the rest: one that is passed over costs every
/// registration the same, however large it is.
std::optional<std::vector<char>> readFile(const std::string& path, bool isProtected,
                                          const Platform& platform, LoadResult& result) {
    const std::unique_ptr<InputFile> file = platform.openInputFile(path);
    if (!file) {
        result.fileMissing = true;
        return std::nullopt;
    }
    const auto unreadable = [&result] {
        result.error = "UnableToReadFile";
        return std::nullopt;
    };
    const std::optional<std::uint64_t> size = file->size();
    if (!size || *size > kMaxFileSize) {
        return unreadable();
    }
    std::array<char, 1> first{};
    const std::size_t judged = !isProtected && *size >= kMinFileSize ? first.size() : 0;
    if (file->read(first.data(), judged) != judged) {
        return unreadable();
    }
    if (judged != 0 && first.front() != '{') {
        return std::nullopt;
    }
    std::vector<char> bytes(static_cast<std::size_t>(*size));
    std::copy_n(first.begin(), judged, bytes.begin());
    const std::size_t rest = bytes.size() - judged;
    if (file->read(bytes.data() + judged, rest) != rest) {
        return unreadable();
    }
    if (bytes.size() < kMinFileSize) {
        result.error = "FileTooSmall";
        return std::nullopt;
    }
    return bytes;
}

/// The text inside a protected file; without it the result says why, unless the text is empty.
std::optional<SecretBytes> openEnvelope(std::vector<char> bytes, const std::string& path,
                                        std::string_view systemId, const SignerCheck& signers,
                                        const Platform& platform, LoadResult& result) {
    const bool isSigned = !signers.skipSignatureCheck;
    std::optional<SecretBytes> text =
        decryptContent(std::move(bytes), systemId, isSigned, result.error);
    if (!text || !isSigned) {
        return text;
    }
    return verifySignature(*std::move(text), path, signers.certificate.get(), platform,
                           result.error);
}

const JsonValue* findFirst(const JsonValue& object, const char* name) {
    const auto member = object.FindMember(name);
    return member != object.MemberEnd() ? &member->value : nullptr;
}

/// The name of what keeps a document from being accepted; null when it is.
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

/// A document for this system; without it the result says why.
std::unique_ptr<ToggleDocument> parseAndAccept(std::string_view text, std::string_view systemId,
                                               LoadResult& result) {
    auto document = std::make_unique<ToggleDocument>();
    const rapidjson::ParseResult parsed = parseDocument(text, document->root);
    if (parsed.IsError()) {
        result.error = parseErrorName(parsed.Code());
        result.errorOffset = parsed.Offset();
        return nullptr;
    }
    if (const char* error = findDocumentError(document->root, systemId)) {
        result.error = error;
        return nullptr;
    }
    const JsonValue* features = findFirst(document->root, "features");
    document->toggleTree = features != nullptr ? features : &document->root;
    return document;
}

} // namespace

LoadResult loadToggleDocument(const std::string& path, bool isProtected, std::string_view systemId,
                              const SignerCheck& signers, const Platform& platform) {
    LoadResult result;
    std::optional<std::vector<char>> bytes = readFile(path, isProtected, platform, result);
    if (!bytes) {
        return result;
    }
    if (!isProtected) {
        result.document = parseAndAccept({bytes->data(), bytes->size()}, systemId, result);
        return result;
    }
    const std::optional<SecretBytes> text =
        openEnvelope(*std::move(bytes), path, systemId, signers, platform, result);
    if (text) {
        result.document = parseAndAccept({text->data(), text->size()}, systemId, result);
    }
    return result;
}

} // namespace klb
