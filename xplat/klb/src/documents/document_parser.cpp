#include "documents/document_parser.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstddef>
#include <optional>
#include <system_error>

#include <rapidjson/reader.h>

namespace klb {

namespace {

/// RapidJSON's input stream over a text. The end of the text reads as NUL, so a NUL byte ends the
/// text as well.
class vectoristream {
public:
    using Ch = char;

    explicit vectoristream(std::string_view text) noexcept
        : begin_(text.data()), current_(begin_), end_(begin_ + text.size()) {}

    Ch Peek() const noexcept {
        return current_ != end_ ? *current_ : '\0';
    }
    Ch Take() noexcept {
        return current_ != end_ ? *current_++ : '\0';
    }
    /// How many characters were taken.
    std::size_t Tell() const noexcept {
        return static_cast<std::size_t>(current_ - begin_);
    }

    // RapidJSON compiles calls to these, but makes them only when it parses in place.
    Ch* PutBegin() noexcept {
        return nullptr;
    }
    void Put(Ch) noexcept {}
    std::size_t PutEnd(Ch*) noexcept {
        return 0;
    }

private:
    const char* begin_;
    const char* current_;
    const char* end_;
};

// RapidJSON 1.1.0 converts a number by an index that overflows: 0.0000000001e-2147483639 would
// crash the host. So it hands numbers over as texts, whose values are never used.
constexpr unsigned kParseFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag |
                                 rapidjson::kParseNumbersAsStringsFlag;

/// Builds a document from the events of the parser. Every number becomes 0.
class Builder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Builder> {
public:
    using Size = rapidjson::SizeType;

    explicit Builder(JsonDocument& document) noexcept : document_(document) {}

    bool Default() {
        return document_.Int(0);
    }
    bool RawNumber(const char*, Size, bool) {
        return document_.Int(0);
    }
    bool Null() {
        return document_.Null();
    }
    bool Bool(bool value) {
        return document_.Bool(value);
    }
    bool String(const char* text, Size size, bool copy) {
        return document_.String(text, size, copy);
    }
    bool Key(const char* text, Size size, bool copy) {
        return document_.Key(text, size, copy);
    }
    bool StartObject() {
        return document_.StartObject();
    }
    bool EndObject(Size count) {
        return document_.EndObject(count);
    }
    bool StartArray() {
        return document_.StartArray();
    }
    bool EndArray(Size count) {
        return document_.EndArray(count);
    }

private:
    JsonDocument& document_;
};

rapidjson::ParseResult parse(std::string_view text, JsonDocument& document) {
    vectoristream input(text);
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator> reader;
    rapidjson::ParseResult result;
    const auto events = [&](JsonDocument& handler) {
        Builder builder(handler);
        result = reader.Parse<kParseFlags>(input, builder);
        return !result.IsError();
    };
    document.Populate(events);
    // A root that begins with a bracket or separator out of place counts as empty in this mode of
    // the parser and as an invalid value in its default one.
    if (result.Code() == rapidjson::kParseErrorDocumentEmpty && input.Peek() != '\0') {
        return {rapidjson::kParseErrorValueInvalid, result.Offset()};
    }
    return result;
}

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// RapidJSON counts decimals and exponents in ints, too. These overflow behind more leading zeros
// than this, which only a malicious file has.
constexpr std::size_t kMaxLeadingZeros = 214'000'000;

/// Whether the exponent of a number with so many zeros behind its point makes it too big. RapidJSON
/// judges the other ones itself.
bool isTooBig(std::string_view exponent, std::size_t leadingZeros) noexcept {
    exponent.remove_prefix(1);
    if (exponent.starts_with('-')) {
        return false;
    }
    if (exponent.starts_with('+')) {
        exponent.remove_prefix(1);
    }
    int value = 0;
    const auto error =
        std::from_chars(exponent.data(), exponent.data() + exponent.size(), value).ec;
    constexpr std::size_t kMaxCounted = INT_MAX;
    constexpr std::size_t kMaxExponentOfDouble = 308;
    constexpr std::size_t kSignificantDigits = 17;
    return error == std::errc::result_out_of_range ||
           (error == std::errc() &&
            leadingZeros > kMaxCounted - kMaxExponentOfDouble - kSignificantDigits);
}

struct LongNumber {
    std::size_t begin;
    /// Where its exponent begins, with the "e".
    std::size_t exponent;
};

/// Tells for places of a text, each behind the last one, whether they are in a string.
class StringFinder {
public:
    explicit StringFinder(std::string_view text) noexcept : text_(text) {}

    bool isInString(std::size_t place) noexcept {
        for (; seen_ < place; ++seen_) {
            if (text_[seen_] == '"') {
                inside_ = !inside_;
            } else if (text_[seen_] == '\\' && inside_) {
                ++seen_;
            }
        }
        return inside_;
    }

private:
    std::string_view text_;
    std::size_t seen_ = 0;
    bool inside_ = false;
};

/// The first number that is too big in a way that RapidJSON cannot judge.
std::optional<LongNumber> findLongNumber(std::string_view text) noexcept {
    StringFinder strings(text);
    std::size_t place = kMaxLeadingZeros;
    while (place < text.size()) {
        // A run of so many zeros covers one of these places.
        if (text[place] != '0') {
            place += kMaxLeadingZeros;
            continue;
        }
        const std::size_t point = text.find_last_not_of('0', place);
        const std::size_t zerosEnd = std::min(text.find_first_not_of('0', place), text.size());
        place = zerosEnd + kMaxLeadingZeros;
        if (point == std::string_view::npos || point == 0 || text[point] != '.' ||
            text[point - 1] != '0') {
            continue;
        }
        const std::size_t end = text.find_first_not_of("0123456789", zerosEnd);
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        place = end + kMaxLeadingZeros;
        const bool hasExponent = text[end] == 'e' || text[end] == 'E';
        if (!hasExponent || !isTooBig(text.substr(end), zerosEnd - point - 1)) {
            continue;
        }
        std::size_t begin = point - 1;
        if (begin != 0 && text[begin - 1] == '-') {
            --begin;
        }
        if ((begin == 0 || !isDigit(text[begin - 1])) && !strings.isInString(begin)) {
            return LongNumber{begin, end};
        }
    }
    return std::nullopt;
}

} // namespace

rapidjson::ParseResult parseDocument(std::string_view text, JsonDocument& document) {
    const std::optional<LongNumber> number = text.size() > kMaxLeadingZeros
                                                 ? findLongNumber(text.substr(0, text.find('\0')))
                                                 : std::nullopt;
    if (!number) {
        return parse(text, document);
    }
    // Any earlier error comes first. A number can fail at its end only.
    const rapidjson::ParseResult result = parse(text.substr(0, number->exponent), document);
    if (result.IsError() && result.Offset() < number->exponent) {
        return result;
    }
    return {rapidjson::kParseErrorNumberTooBig, number->begin};
}

const char* parseErrorName(rapidjson::ParseErrorCode code) noexcept {
    switch (code) {
    case rapidjson::kParseErrorNone:
        break;
    case rapidjson::kParseErrorDocumentEmpty:
        return "ParseErrorDocumentEmpty";
    case rapidjson::kParseErrorDocumentRootNotSingular:
        return "ParseErrorDocumentRootNotSingular";
    case rapidjson::kParseErrorValueInvalid:
        return "ParseErrorValueInvalid";
    case rapidjson::kParseErrorObjectMissName:
        return "ParseErrorObjectMissName";
    case rapidjson::kParseErrorObjectMissColon:
        return "ParseErrorObjectMissColon";
    case rapidjson::kParseErrorObjectMissCommaOrCurlyBracket:
        return "ParseErrorObjectMissCommaOrCurlyBracket";
    case rapidjson::kParseErrorArrayMissCommaOrSquareBracket:
        return "ParseErrorArrayMissCommaOrSquareBracket";
    case rapidjson::kParseErrorStringUnicodeEscapeInvalidHex:
        return "ParseErrorStringUnicodeEscapeInvalidHex";
    case rapidjson::kParseErrorStringUnicodeSurrogateInvalid:
        return "ParseErrorStringUnicodeSurrogateInvalid";
    case rapidjson::kParseErrorStringEscapeInvalid:
        return "ParseErrorStringEscapeInvalid";
    case rapidjson::kParseErrorStringMissQuotationMark:
        return "ParseErrorStringMissQuotationMark";
    case rapidjson::kParseErrorStringInvalidEncoding:
        return "ParseErrorStringInvalidEncoding";
    case rapidjson::kParseErrorNumberTooBig:
        return "ParseErrorNumberTooBig";
    case rapidjson::kParseErrorNumberMissFraction:
        return "ParseErrorNumberMissFraction";
    case rapidjson::kParseErrorNumberMissExponent:
        return "ParseErrorNumberMissExponent";
    case rapidjson::kParseErrorTermination:
        return "ParseErrorTermination";
    case rapidjson::kParseErrorUnspecificSyntaxError:
        return "ParseErrorUnspecificSyntaxError";
    }
    return "";
}

} // namespace klb
