#ifndef KLB_DOCUMENTS_DOCUMENT_PARSER_H
#define KLB_DOCUMENTS_DOCUMENT_PARSER_H

#include "core/json.h"

#include <vector>

#include <rapidjson/error/error.h>

namespace klb {

/// Parses a text, up to its first NUL byte, where it lies. Codes and offsets of errors are those of
/// RapidJSON's default mode. Needs no stack for deep nesting: a file of nothing but brackets must
/// not end the host. May change digits of numbers.
rapidjson::ParseResult parseDocument(std::vector<char>& text, JsonDocument& document);

} // namespace klb

#endif
