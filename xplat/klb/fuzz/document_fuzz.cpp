// A plain toggle document with a key in its last line: loading, parsing and looking up, held
// against RapidJSON's default mode and a walk that compares every name.
#include "check.h"
#include "crypto_surroundings.h"
#include "documents/document_loader.h"
#include "documents/document_parser.h"
#include "support/fake_platform.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace klb {
namespace {

using fuzz::check;
using Reference = rapidjson::Document::ValueType;

constexpr const char* kPath = "C:\\data\\toggles.json";
constexpr std::string_view kSystemId = "System";

/// The default mode takes stack for each bracket.
constexpr std::ptrdiff_t kMaxReferenceDepth = 1000;

struct Parsed {
    explicit Parsed(const std::string& text) {
        // The end of a C string and of the bytes look the same.
        rapidjson::StringStream stream(text.c_str());
        document.ParseStream(stream);
    }
    rapidjson::Document document;
};

/// Writes every number as 0.
class NumberlessWriter : public rapidjson::Writer<rapidjson::StringBuffer> {
public:
    using rapidjson::Writer<rapidjson::StringBuffer>::Writer;

    bool Int(int) {
        return writeNumber();
    }
    bool Uint(unsigned) {
        return writeNumber();
    }
    bool Int64(std::int64_t) {
        return writeNumber();
    }
    bool Uint64(std::uint64_t) {
        return writeNumber();
    }
    bool Double(double) {
        return writeNumber();
    }

private:
    bool writeNumber() {
        return rapidjson::Writer<rapidjson::StringBuffer>::Int(0);
    }
};

template <class Value>
std::string writtenAs(const Value& value) {
    rapidjson::StringBuffer text;
    NumberlessWriter writer(text);
    value.Accept(writer);
    return {text.GetString(), text.GetSize()};
}

/// The first member of this name, or null.
const Reference* memberOf(const Reference& value, std::string_view name) {
    if (!value.IsObject()) {
        return nullptr;
    }
    for (const auto& member : value.GetObject()) {
        if (std::string_view(member.name.GetString(), member.name.GetStringLength()) == name) {
            return &member.value;
        }
    }
    return nullptr;
}

/// What a toggle key leads to, or null.
const Reference* entryOf(const Reference& tree, std::string_view key) {
    const Reference* entry = key.starts_with('/') ? &tree : nullptr;
    while (entry != nullptr && !key.empty()) {
        key.remove_prefix(1);
        const std::size_t end = std::min(key.find('/'), key.size());
        entry = memberOf(*entry, key.substr(0, end));
        key.remove_prefix(end);
    }
    return entry;
}

void checkLookup(ToggleDocument& document, const JsonValue& tree, const Reference& reference,
                 std::string_view key) {
    const Reference* const entry = entryOf(reference, key);
    const bool isSet = entry != nullptr && entry->IsBool();
    const std::optional<bool> value = lookupDocumentValue(key, document, tree);
    check(value.has_value() == isSet, "a key is found where a naive walk finds a boolean");
    check(!value || *value == entry->GetBool(), "a key has the value of a naive walk");
}

/// Adds keys of the value's entries, however their names look.
void addKeys(const Reference& value, const std::string& path, std::vector<std::string>& keys) {
    constexpr std::size_t kMaxKeys = 64;
    if (!value.IsObject()) {
        return;
    }
    for (const auto& member : value.GetObject()) {
        if (keys.size() >= kMaxKeys) {
            return;
        }
        const std::string key =
            path + '/' + std::string(member.name.GetString(), member.name.GetStringLength());
        keys.push_back(key);
        addKeys(member.value, key, keys);
    }
}

void checkLookups(ToggleDocument& document, const JsonValue& tree, const Reference& reference,
                  const std::string& key) {
    std::vector<std::string> keys = {key, '/' + key, key + "/x"};
    addKeys(reference, "", keys);
    for (const std::string& each : keys) {
        checkLookup(document, tree, reference, each);
    }
}

struct LoadError {
    std::string name;
    std::uint64_t offset = 0;
    bool operator==(const LoadError&) const = default;
};

/// Why the reference is no document for this system; null when it is one.
const char* refusalOf(const Reference& root) {
    if (!root.IsObject()) {
        return "ErrorDocumentRootMustBeObject";
    }
    const Reference* const header = memberOf(root, "header");
    if (header == nullptr) {
        return "";
    }
    if (!header->IsObject()) {
        return "ErrorHeaderRootMustBeObject";
    }
    const Reference* const id = memberOf(*header, "systemId");
    if (id == nullptr || !id->IsString()) {
        return "ErrorSystemIdMustBeString";
    }
    const bool same = std::string_view(id->GetString(), id->GetStringLength()) == kSystemId;
    return same ? "" : "ErrorSystemIdDoesNotMatch";
}

LoadError expectedError(const std::string& text, const rapidjson::Document& reference) {
    if (text.size() < 10) {
        return {"FileTooSmall"};
    }
    if (text.front() != '{') {
        return {""};
    }
    if (reference.HasParseError()) {
        return {parseErrorName(reference.GetParseError()), reference.GetErrorOffset()};
    }
    return {refusalOf(reference)};
}

void checkParsing(const std::string& text, const rapidjson::Document& reference) {
    JsonDocument document;
    const rapidjson::ParseResult result = parseDocument(text, document);
    check(result.Code() == reference.GetParseError(), "a parse error is that of the default mode");
    check(result.Offset() == reference.GetErrorOffset(),
          "a parse error stands where the default mode finds it");
    check(result.IsError() || writtenAs(document) == writtenAs(reference),
          "a text means what it means in the default mode");
}

/// Whether the default mode may wrap when it counts with an exponent, and take that for an index.
bool mayEndTheDefaultMode(const std::string& text) {
    constexpr std::size_t kLongExponent = 9;
    constexpr const char* kDigits = "0123456789";
    for (std::size_t at = text.find_first_of("eE"); at != std::string::npos;
         at = text.find_first_of("eE", at + 1)) {
        const std::size_t digits = std::min(text.find_first_not_of("+-", at + 1), text.size());
        const std::size_t end = std::min(text.find_first_not_of(kDigits, digits), text.size());
        if (end - digits >= kLongExponent) {
            return true;
        }
    }
    return false;
}

LoadResult load(const test::FakePlatform& platform) {
    return loadToggleDocument(kPath, false, kSystemId, SignerCheck(), platform.services());
}

/// The library alone, for texts that the default mode cannot read.
void loadAlone(const test::FakePlatform& platform, const std::string& key) {
    const LoadResult result = load(platform);
    if (result.document) {
        lookupDocumentValue(key, *result.document, *result.document->toggleTree);
    }
}

void checkLoading(const test::FakePlatform& platform, const std::string& text,
                  const std::string& key) {
    const Parsed reference(text);
    checkParsing(text, reference.document);

    const LoadResult result = load(platform);
    ToggleDocument* const document = result.document.get();
    const LoadError expected = expectedError(text, reference.document);
    check(LoadError{result.error, result.errorOffset} == expected,
          "a load fails for the reason that a naive reader finds");
    const bool accepted = expected.name.empty() && text.front() == '{';
    check((document != nullptr) == accepted, "a document is there unless it was refused");
    if (document == nullptr) {
        return;
    }
    const Reference* features = memberOf(reference.document, "features");
    const Reference& tree = features != nullptr ? *features : reference.document;
    checkLookups(*document, *document->toggleTree, tree, key);
    checkLookups(*document, document->root, reference.document, key);
}

void testOneInput(const std::string& input) {
    const std::size_t line = input.rfind('\n');
    const std::string text = input.substr(0, line);
    const std::string key = line != std::string::npos ? input.substr(line + 1) : "";

    test::FakePlatform platform;
    platform.files[kPath].bytes = text;
    const auto isBracket = [](char c) { return c == '{' || c == '['; };
    if (std::count_if(text.begin(), text.end(), isBracket) > kMaxReferenceDepth ||
        mayEndTheDefaultMode(text)) {
        loadAlone(platform, key);
    } else {
        checkLoading(platform, text, key);
    }
}

} // namespace
} // namespace klb

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    klb::fuzz::isolateCryptoLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    klb::testOneInput({reinterpret_cast<const char*>(bytes), size});
    return 0;
}
