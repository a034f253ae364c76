// The loader parses without recursion. What it records of a bad document has to be what RapidJSON's
// default, recursive mode says; this holds the two against each other over mutated documents.
#include "documents/document_loader.h"
#include "documents/parse_errors.h"

#include "support/fake_platform.h"

#include <gtest/gtest.h>

#include <random>

namespace klb {
namespace {

constexpr const char* kPath = "C:\\toggles.json";

struct Outcome {
    std::string error;
    std::uint64_t offset = 0;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << '"' << outcome.error << "\" at " << outcome.offset;
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
    if (!document.HasParseError()) {
        return {};
    }
    return {parseErrorName(document.GetParseError()), document.GetErrorOffset()};
}

class Parse : public testing::Test {
protected:
    Outcome loaderOutcome(const std::string& text) {
        platform.files[kPath].bytes = text;
        ToggleFileRecord record;
        record.type = KLB_ToggleFileType_Supported;
        record.path = kPath;
        loadToggleDocument(record, "S", platform.services());
        return {record.error, record.errorOffset};
    }

    test::FakePlatform platform;
};

TEST_F(Parse, EveryCodeHasItsName) {
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

TEST_F(Parse, MutatedDocumentsEndAsInTheDefaultMode) {
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
            const std::size_t at = 1 + upTo(text.size() - 2);
            const char c = alphabet[upTo(alphabet.size() - 1)];
            switch (upTo(3)) {
            case 0:
                text[at] = c;
                break;
            case 1:
                text.insert(at, 1, c);
                break;
            case 2:
                text.erase(at, 1);
                break;
            default:
                text.resize(std::max<std::size_t>(at, 4));
                break;
            }
        }
        text.resize(std::max<std::size_t>(text.size(), 10), ' ');
        const Outcome expected = referenceOutcome(text);
        const Outcome outcome = loaderOutcome(text);
        // Documents that parse may still fail validation, without an offset.
        if (expected.error.empty()) {
            EXPECT_EQ(outcome.offset, 0U) << text;
            EXPECT_FALSE(outcome.error.starts_with("ParseError")) << text;
        } else {
            ++bad;
            ASSERT_EQ(outcome, expected) << text;
        }
    }
    EXPECT_GT(bad, 10'000);
}

TEST_F(Parse, NestingNeedsNoStack) {
    constexpr std::size_t kDepth = 1'000'000;
    EXPECT_EQ(loaderOutcome(R"({"a":)" + std::string(kDepth, '[')),
              (Outcome{"ParseErrorValueInvalid", kDepth + 5}));
    EXPECT_EQ(loaderOutcome(R"({"a":)" + std::string(kDepth, '[') + std::string(kDepth, ']') + "}"),
              Outcome{});
}

TEST_F(Parse, TheTextEndsAtItsFirstNul) {
    EXPECT_EQ(loaderOutcome(std::string("{\"a\":true}\0}{", 13)), Outcome{});
    EXPECT_EQ(loaderOutcome(std::string("{\"a\":\0true}", 11)),
              (Outcome{"ParseErrorValueInvalid", 5}));
}

} // namespace
} // namespace klb
