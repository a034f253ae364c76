#ifndef KLB_DOCUMENTS_DOCUMENT_PARSER_H
#define KLB_DOCUMENTS_DOCUMENT_PARSER_H

#include "core/json.h"

#include <string_view>

#include <rapidjson/error/error.h>

namespace klb {

/// Parses a text up to its first NUL byte; every number becomes 0. Codes and offsets of errors are
/// those of RapidJSON 1.1.0's default mode. Nesting needs no stack: a file of nothing but brackets
/// must not crash the host.
rapidjson::ParseResult parseDocument(std::string_view text, JsonDocument& document);

/// The name of a parse error, as messages show it; empty for a code that has none.
const char* parseErrorName(rapidjson::ParseErrorCode code) noexcept;

} // namespace klb

#endif
