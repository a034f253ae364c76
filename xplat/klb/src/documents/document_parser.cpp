#include "documents/document_parser.h"

#include "documents/document_input.h"
#include "documents/exponents.h"

#include <rapidjson/reader.h>

namespace klb {

rapidjson::ParseResult parseDocument(std::vector<char>& text, JsonDocument& document) {
    limitExponents(text);
    const vectoristream bytes(text);
    DocumentInput input(bytes);
    document.ParseStream<rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag>(input);
    // A root that begins with a bracket or separator out of place counts as empty in this mode of
    // the parser and as an invalid value in its default one.
    if (document.GetParseError() == rapidjson::kParseErrorDocumentEmpty && input.Peek() != '\0') {
        return {rapidjson::kParseErrorValueInvalid, document.GetErrorOffset()};
    }
    return {document.GetParseError(), document.GetErrorOffset()};
}

} // namespace klb
