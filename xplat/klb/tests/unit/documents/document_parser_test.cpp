// Documents are parsed without recursion. Codes and offsets of errors have to be those of
// RapidJSON's default, recursive mode; this holds the two against each other over mutated
// documents.
#include "documents/document_parser.h"

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace klb {
namespace {

struct Outcome {
    rapidjson::ParseErrorCode code = rapidjson::kParseErrorNone;
    std::size_t offset = 0;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << '"' << parseErrorName(outcome.code) << "\" at " << outcome.offset;
}

/// A stream that ends in NUL, written anew for the comparison.
struct ReferenceStream {
    using Ch = char;

    const std::string& text;
    std::size_t taken = 0;

    Ch Peek() const {
        return taken < text.size() ? text[taken] : '\0';
    }
    Ch Take() {
        return taken < text.size() ? text[taken++] : '\0';
    }
    std::size_t Tell() const {
        return taken;
    }
    Ch* PutBegin() {
        return nullptr;
    }
    void Put(Ch) {}
    std::size_t PutEnd(Ch*) {
        return 0;
    }
};

Outcome referenceOutcome(const std::string& text) {
    rapidjson::Document document;
    ReferenceStream stream{text};
    document.ParseStream(stream);
    return {document.GetParseError(), document.GetErrorOffset()};
}

Outcome outcomeOf(const std::string& text) {
    JsonDocument document;
    const rapidjson::ParseResult result = parseDocument(text, document);
    return {result.Code(), result.Offset()};
}

TEST(ParseErrorName, IsKnownForEveryCode) {
    const char* const names[] = {
        "",
        "ParseErrorDocumentEmpty",
        "ParseErrorDocumentRootNotSingular",
        "ParseErrorValueInvalid",
        "ParseErrorObjectMissName",
        "ParseErrorObjectMissColon",
        "ParseErrorObjectMissCommaOrCurlyBracket",
        "ParseErrorArrayMissCommaOrSquareBracket",
        "ParseErrorStringUnicodeEscapeInvalidHex",
        "ParseErrorStringUnicodeSurrogateInvalid",
        "ParseErrorStringEscapeInvalid",
        "ParseErrorStringMissQuotationMark",
        "ParseErrorStringInvalidEncoding",
        "ParseErrorNumberTooBig",
        "ParseErrorNumberMissFraction",
        "ParseErrorNumberMissExponent",
        "ParseErrorTermination",
        "ParseErrorUnspecificSyntaxError",
        "",
    };
    int code = 0;
    for (const char* name : names) {
        EXPECT_STREQ(parseErrorName(static_cast<rapidjson::ParseErrorCode>(code)), name) << code;
        ++code;
    }
}

TEST(ParseDocument, MutatedDocumentsEndAsInTheDefaultMode) {
    const std::string seeds[] = {
        R"({"header":{"systemId":"S"},"features":{"a":true,"b":{"c":false,"d":null}}})",
        R"({"n":[0,-1,2.5e3,1E-7,12345678901234567890,[[]],{}],"s":"\u00e9\ud83d\ude00\n\"x\""})",
        "{ \t\r\n\"a\" : [ true , false , null ] , \"\" : { \"\" : \"\" } }   ",
        R"({"big":1e308,"t":[1.0,2,3],"e":"\\\/\b\f\r\t"})",
    };
    constexpr char kAlphabet[] = "{}[]\",:\\/ntfu0189dDeE+-. \t\n\0\xC3\xFF";
    const std::string alphabet(kAlphabet, sizeof kAlphabet - 1);
    std::mt19937 random(20240607);
    const auto upTo = [&random](std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n)(random);
    };
    int bad = 0;
    for (int i = 0; i < 40'000; ++i) {
        std::string text = seeds[upTo(std::size(seeds) - 1)];
        for (std::size_t changes = 1 + upTo(2); changes > 0; --changes) {
            const std::size_t at = upTo(text.size());
            const char c = alphabet[upTo(alphabet.size() - 1)];
            switch (upTo(3)) {
            case 0:
                text.replace(at, 1, 1, c);
                break;
            case 1:
                text.insert(at, 1, c);
                break;
            case 2:
                text.erase(at, 1);
                break;
            default:
                text.resize(at);
                break;
            }
        }
        const Outcome expected = referenceOutcome(text);
        bad += expected.code == rapidjson::kParseErrorNone ? 0 : 1;
        ASSERT_EQ(outcomeOf(text), expected) << text;
    }
    EXPECT_GT(bad, 10'000);
}

TEST(ParseDocument, RootsThatNoValueBeginsWithEndAsInTheDefaultMode) {
    for (const char* const root : {"", " ", "]", "}", ",", ":", "]]", "} ", ",{}", " \n:", "x",
                                   "\"", "{]", "[}", "-", "nul", "\xFF", "\xEF\xBB\xBF{}"}) {
        EXPECT_EQ(outcomeOf(root), referenceOutcome(root)) << root;
    }
    const std::string nul("\0{}", 3);
    EXPECT_EQ(outcomeOf(nul), referenceOutcome(nul));
}

TEST(ParseDocument, NestingNeedsNoStack) {
    constexpr std::size_t kDepth = 1'000'000;
    EXPECT_EQ(outcomeOf(R"({"a":)" + std::string(kDepth, '[')),
              (Outcome{rapidjson::kParseErrorValueInvalid, kDepth + 5}));
    EXPECT_EQ(
        outcomeOf(R"({"a":)" + std::string(kDepth, '[') + std::string(kDepth, ']') + "}").code,
        rapidjson::kParseErrorNone);
}

TEST(ParseDocument, TheTextEndsAtItsFirstNul) {
    EXPECT_EQ(outcomeOf(std::string("{\"a\":true}\0}{", 13)).code, rapidjson::kParseErrorNone);
    EXPECT_EQ(outcomeOf(std::string("{\"a\":\0true}", 11)),
              (Outcome{rapidjson::kParseErrorValueInvalid, 5}));
}

} // namespace
} // namespace klb
