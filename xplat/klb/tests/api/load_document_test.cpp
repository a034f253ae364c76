#include "error_mode.h"
#include "library_session.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace klb::test {

namespace {

using namespace std::string_literals;

const KLB_ToggleFileType kPlainTypes[] = {KLB_ToggleFileType_Supported,
                                          KLB_ToggleFileType_Override};

/// The document is refused with this error, and its toggle "/a" keeps its default for good.
void expectLoadError(const DamagedDocument& document, std::string_view error) {
    SCOPED_TRACE(document.bytes.substr(0, 200));
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", document.bytes);
    for (const KLB_ToggleFileType type : kPlainTypes) {
        SCOPED_TRACE(static_cast<int>(type));
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectError<std::domain_error>(
                loadErrorText(error, path, document.offset),
                [&] { KLB_RegisterToggleFile(type, "core", path.c_str()); });
            EXPECT_TRUE(KLB_IsToggleFileRegistered("core"));
            observer.expectSilence([&] {
                KLB_RegisterToggleFile(type, "core", path.c_str());
                EXPECT_FALSE(registeredValue("/a", false, "core"));
                EXPECT_TRUE(registeredValue("/b", true, "core"));
            });
        });
    }
}

void expectParseErrors(const std::vector<std::string>& markedDocuments, std::string_view error) {
    SCOPED_TRACE(error);
    for (const std::string& marked : markedDocuments) {
        expectLoadError(damagedAt(marked), error);
    }
}

/// The document loads without a word and sets "/a" to true.
void expectLoads(const std::string& document, const char* systemId = "TestSystem") {
    SCOPED_TRACE(document.substr(0, 200));
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", document);
    for (const KLB_ToggleFileType type : kPlainTypes) {
        SCOPED_TRACE(static_cast<int>(type));
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library(systemId);
            observer.expectSilence([&] {
                KLB_RegisterToggleFile(type, "core", path.c_str());
                EXPECT_TRUE(registeredValue("/a", false, "core"));
            });
        });
    }
}

TEST(ToggleFileContent, NeedsTenBytes) {
    for (const char* bytes : {"", "{", "{}", R"({"":true})", "         ", "123456789"}) {
        expectLoadError({bytes, 0}, "FileTooSmall");
    }
    expectLoads(R"({"a":true})");
}

// The parser's codes 1, 12, 16 and 17 have no document here: a plain document begins with "{" and
// so is not empty, encodings are not validated, no handler stops the parser, and only comments end
// in an unspecific error.

TEST(ToggleFileContent, ReportsTextAfterTheRoot) {
    expectParseErrors(
        {
            R"({"a":true}^x)",
            R"({"a":true}^})",
            R"({"a":true}^,)",
            R"({"a":true}^{"b":true})",
            "{\"a\":true} \t\r\n^true",
            R"({"a":true} ^// comment)",
            "{\"a\":true}^\xFF",
            "{\"a\":true}^\v",
            "{\"a\":true}\n^\xEF\xBB\xBF",
        },
        "ParseErrorDocumentRootNotSingular");
}

TEST(ToggleFileContent, ReportsInvalidValues) {
    expectParseErrors(
        {
            R"({"a":^x,"b":true})",     R"({"a":^,"b":true})",      R"({"key":  ^})",
            R"({"a":[true,^]})",        R"({"a":[^,true]})",        R"({"a":^True,"b":1})",
            R"({"a":tr^eu,"b":1})",     R"({"a":fals^,"b":1})",     R"({"a":nul^})" + "   "s,
            R"({"bbb":true,"a":tru^)",  R"({"bbb":true,"a":^)",     R"({"a":^NaN    })",
            R"({"a":^Infinity})",       R"({"a":-^Infinity})",      R"({"a":-^,"b":true})",
            R"({"a":^+1,"b":true})",    R"({"a":^.5,"b":true})",    R"({"a":^'text','b':1})",
            R"({"a":^/* one */ true})", "{\"a\":^\xFF,\"b\":true}", "{\"a\":^\0true}"s,
        },
        "ParseErrorValueInvalid");
}

TEST(ToggleFileContent, ReportsAMissingName) {
    expectParseErrors(
        {
            R"({^a:true,"b":true})",
            R"({^'a':true,"b":1})",
            R"({^1:true,"b":true})",
            R"({^,"a":true})",
            R"({"a":true,^})",
            R"({"a":true, ^,"b":1})",
            R"({"a":true,^)",
            R"({"a":{"b":1,^},"b":1})",
            "{         ^",
            "{\r\n  ^]      ",
            R"({^/* none */"a":1})",
            "{^\0\0\0\0\0\0\0\0\0\0"s,
            "{\"a\":true,^\xFF}",
        },
        "ParseErrorObjectMissName");
}

TEST(ToggleFileContent, ReportsAMissingColon) {
    expectParseErrors(
        {
            R"({"name"^})" + "   "s,
            R"({"name" ^true})",
            R"({"name"^=true})",
            R"({"name"^,"a":true})",
            R"({"a":true,"name"^)",
            "{\"name\"\t\n^\"a\":true}",
        },
        "ParseErrorObjectMissColon");
}

TEST(ToggleFileContent, ReportsAMissingCommaOrCurlyBracket) {
    expectParseErrors(
        {
            R"({"a":true ^"b":true})",
            R"({"a":true^;"b":true})",
            R"({"a":true^])",
            R"({"ab":true^)",
            R"({"a":{"b":true}^)",
            R"({"a":true^e,"b":1})",
            R"({"a":0^1,"b":true})",
            R"({"a":1^x,"b":true})",
            R"({"a":"text"^"more"})",
            R"({"a":true^/**/})",
            "{\"a\":true^\xFF}",
            "{\"a\":true^\0}"s,
        },
        "ParseErrorObjectMissCommaOrCurlyBracket");
}

TEST(ToggleFileContent, ReportsAMissingCommaOrSquareBracket) {
    expectParseErrors(
        {
            R"({"a":[1 ^2]})",
            R"({"a":[1,2^}})",
            R"({"a":[true^)",
            R"({"a":[[],[]^})",
            R"({"a":["x"^:1]})",
        },
        "ParseErrorArrayMissCommaOrSquareBracket");
}

TEST(ToggleFileContent, ReportsBadHexDigitsWhereTheEscapeBegins) {
    expectParseErrors(
        {
            R"({"a":"^\u12G4"})",
            R"({"a":"text ^\u12"})",
            R"({"^\u006":true})",
            R"({"name":"^\u)",
            R"({"a":"\u0041^\u004g"})",
            R"({"a":"^\ud83d\ude0"})",
        },
        "ParseErrorStringUnicodeEscapeInvalidHex");
}

TEST(ToggleFileContent, ReportsALoneHighSurrogateWhereItBegins) {
    expectParseErrors(
        {
            R"({"a":"^\ud800"})",
            R"({"a":"text^\udbffmore"})",
            R"({"a":"^\ud800\n"})",
            R"({"a":"^\ud800\ud800"})",
            R"({"a":"^\ud800\u0041"})",
            R"({"^\ud800":true})",
            R"({"a":"^\ud800)",
        },
        "ParseErrorStringUnicodeSurrogateInvalid");
}

TEST(ToggleFileContent, ReportsBadEscapesAndControlCharacters) {
    expectParseErrors(
        {
            R"({"a":"^\x41"})",
            R"({"a":"text^\'"})",
            R"({"^\a":true})",
            R"({"a":"^\U0041"})",
            R"({"abcd":"^\)",
            "{\"a\":\"two^\nlines\"}",
            "{\"a\":\"^\t\"     }",
            "{\"^\x1F\":true}",
            "{\"^\x01\":true}",
        },
        "ParseErrorStringEscapeInvalid");
}

TEST(ToggleFileContent, ReportsAMissingQuotationMark) {
    expectParseErrors(
        {
            R"({"a":"text^)",
            R"({"a":"text}  ^)",
            R"({"name:true}^)",
            R"({"a":true,"^)",
            R"({"a":"text\"}^)",
            "{\"a\":\"te^\0xt\"}"s,
            "{\"na^\0me\":true}"s,
        },
        "ParseErrorStringMissQuotationMark");
}

TEST(ToggleFileContent, ReportsTooBigNumbersWhereTheyBegin) {
    expectParseErrors(
        {
            R"({"a":^1e309})",
            R"({"a": ^-1e309,"b":true})",
            R"({"a":[0,^1E+400]})",
            R"({"a":^123.5e99999999999})",
            R"({"a":^)" + std::string(400, '9') + "}",
            R"({"a":^-)" + std::string(400, '9') + "}",
        },
        "ParseErrorNumberTooBig");
}

TEST(ToggleFileContent, ReportsAMissingFraction) {
    expectParseErrors(
        {
            R"({"a":1.^,"b":true})",
            R"({"a":-0.^ })",
            R"({"a":12.^e5})",
            R"({"a":1234.^)",
        },
        "ParseErrorNumberMissFraction");
}

TEST(ToggleFileContent, ReportsAMissingExponent) {
    expectParseErrors(
        {
            R"({"a":1e^,"b":true})",
            R"({"a":1E+^ })",
            R"({"a":0.5e-^x})",
            R"({"a":1234e^)",
        },
        "ParseErrorNumberMissExponent");
}

TEST(ToggleFileContent, CountsBytesInOffsets) {
    expectParseErrors(
        {
            "{\r\n\"a\"\r\n:\r\n^x}",
            "{\"\xC3\xA9\xF0\x9F\x98\x80\":^x}",
            R"({"\u0041\ud83d\ude00":^x})",
            "{\"\xFF\":^x     }",
        },
        "ParseErrorValueInvalid");
    // Far beyond any buffer's size.
    const std::string filler(3'000'000, ' ');
    expectParseErrors(
        {
            "{" + filler + R"("a":true)" + filler + "^x}",
        },
        "ParseErrorObjectMissCommaOrCurlyBracket");
    expectParseErrors(
        {
            R"({"a":true,"long":")" + filler + "^",
        },
        "ParseErrorStringMissQuotationMark");
}

TEST(ToggleFileContent, AcceptsWhatTheParserAccepts) {
    for (const std::string& document : {
             R"({"a":true})"s,
             "{\"a\":true} \t\r\n"s,
             "{\r\n\"a\" :\ttrue\r\n}\r\n"s,
             R"({"a":true,"n":[0,-0,1.5,-2e-3,1E308,18446744073709551616,1e-400]})"s,
             R"({"a":true,"lone low surrogate":"\udc00"})"s,
             R"({"a":true,"escapes":"\"\\\/\b\f\n\r\t\u0000\ud83d\ude00"})"s,
             R"({"a":true,"empty":[{},[],""]})"s,
             "{\"a\":true,\"DEL\":\"\x7F\"}"s,
             R"({"\u0061":true})"s,
         }) {
        expectLoads(document);
    }
}

TEST(ToggleFileContent, MayHaveNumbersWithEnormousExponents) {
    const std::string digits = "2147483639";
    const std::string zeros(100, '0');
    for (const std::string& number : std::vector<std::string>{
             "1e-" + digits, "0." + zeros + "1e-" + digits, "-12.5E-" + digits, "1e-214748364",
             "0." + zeros + "e-" + digits, "0." + zeros + "1e-" + zeros + digits,
             "0.0000000001e-2147483640", "0.1e-" + std::string(1'000, '9')}) {
        expectLoads(R"({"n":)" + number + R"(,"a":true})");
    }
    expectLoads(R"({"n":[0.1e-2147483639,{"m":0.001E-2147483647}],"a":true})");
    // In texts they are letters like others.
    const std::string id = R"(0.01e-2147483639 \\")";
    expectLoads(
        R"({"header":{"systemId":"0.01e-2147483639 \\\\\""},"n":0.01e-2147483639,"a":true})",
        id.c_str());
    expectParseErrors(
        {
            "{\"n\":0." + zeros + "1e-" + digits + "^x,\"a\":true}",
        },
        "ParseErrorObjectMissCommaOrCurlyBracket");
}

TEST(ToggleFileContent, EndsAtTheFirstNulAfterTheRoot) {
    expectLoads("{\"a\":true}\0"s);
    expectLoads("{\"a\":true}\0}]garbage \xFF \0 {\"a\":false}"s);
    expectLoads("{\"a\":true} \n\0x"s);
    expectLoads("{\"a\":true}"s + std::string(100'000, '\0'));
}

TEST(ToggleFileContent, ChecksTheHeader) {
    const struct {
        const char* header;
        const char* error;
    } cases[] = {
        {R"("header":[])", "ErrorHeaderRootMustBeObject"},
        {R"("header":[{"systemId":"TestSystem"}])", "ErrorHeaderRootMustBeObject"},
        {R"("header":"TestSystem")", "ErrorHeaderRootMustBeObject"},
        {R"("header":1)", "ErrorHeaderRootMustBeObject"},
        {R"("header":true)", "ErrorHeaderRootMustBeObject"},
        {R"("header":null)", "ErrorHeaderRootMustBeObject"},
        {R"("header":null,"header":{"systemId":"TestSystem"})", "ErrorHeaderRootMustBeObject"},
        {R"("header":{})", "ErrorSystemIdMustBeString"},
        {R"("header":{"SystemId":"TestSystem"})", "ErrorSystemIdMustBeString"},
        {R"("header":{"x":{"systemId":"TestSystem"}},"systemId":"TestSystem")",
         "ErrorSystemIdMustBeString"},
        {R"("header":{"systemId":1234})", "ErrorSystemIdMustBeString"},
        {R"("header":{"systemId":true})", "ErrorSystemIdMustBeString"},
        {R"("header":{"systemId":null})", "ErrorSystemIdMustBeString"},
        {R"("header":{"systemId":["TestSystem"]})", "ErrorSystemIdMustBeString"},
        {R"("header":{"systemId":{}})", "ErrorSystemIdMustBeString"},
        {R"("header":{"systemId":1,"systemId":"TestSystem"})", "ErrorSystemIdMustBeString"},
        {R"("header":{"systemId":""})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"Other"})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"testsystem"})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"TestSyste"})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"TestSystemX"})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"TestSystem "})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"TestSystem\u0000"})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"\u0000TestSystem"})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"Other","systemId":"TestSystem"})", "ErrorSystemIdDoesNotMatch"},
        {R"("header":{"systemId":"Other"},"header":{"systemId":"TestSystem"})",
         "ErrorSystemIdDoesNotMatch"},
    };
    for (const auto& c : cases) {
        const std::string header = c.header;
        expectLoadError({"{" + header + R"(,"features":{"a":true,"b":false}})", 0}, c.error);
        expectLoadError({R"({"features":{"a":true,"b":false},)" + header + "}", 0}, c.error);
    }
    for (const std::string header : {
             R"("header":{"systemId":"TestSystem"})",
             R"("header":{"systemId":"Test\u0053ystem"})",
             R"("header":{"comment":[1],"systemId":"TestSystem","systemID":2})",
             R"("header":{"systemId":"TestSystem","systemId":"Other"})",
             R"("header":{"systemId":"TestSystem"},"header":[])",
             R"("Header":[],"systemId":"Other")",
         }) {
        expectLoads("{" + header + R"(,"features":{"a":true}})");
        expectLoads(R"({"features":{"a":true},)" + header + "}");
    }
}

TEST(ToggleFileContent, ComparesTheSystemIdentifierByteForByte) {
    expectLoads(R"({"header":{"systemId":"ABCD-1234"},"a":true})", "ABCD-1234");
    expectLoads("{\"header\":{\"systemId\":\"\xC3\xA9\xFF\"},\"a\":true}", "\xC3\xA9\xFF");
    expectLoads(R"({"header":{"systemId":"\u00e9\"\\"},"a":true})", "\xC3\xA9\"\\");
    expectLoads(R"({"a":true})", "any other");
    const TempDirectory directory;
    const std::string path =
        directory.write("toggles.json", R"({"header":{"systemId":"abcd-1234"},"a":true})");
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("ABCD-1234");
        observer.expectError<std::domain_error>(loadErrorText("ErrorSystemIdDoesNotMatch", path),
                                                [&] { registerPlainFile("core", path); });
        EXPECT_FALSE(registeredValue("/a", false, "core"));
    });
}

TEST(ToggleFileContent, ReportsTheFirstErrorOnly) {
    // The text is parsed before its header is looked at, and the size comes before everything.
    expectParseErrors(
        {
            R"({"header":[],"a":true,^})",
            R"({"header":{"systemId":"Other"},^})",
        },
        "ParseErrorObjectMissName");
    expectParseErrors(
        {
            R"({"a":^x,"b":"\q",})",
        },
        "ParseErrorValueInvalid");
    expectLoadError({" {\"a\":1} ", 0}, "FileTooSmall");
}

} // namespace

} // namespace klb::test
