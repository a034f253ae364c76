#include "documents/parse_errors.h"

namespace klb {

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
