#ifndef KLB_DOCUMENTS_JSON_TEXT_H
#define KLB_DOCUMENTS_JSON_TEXT_H

#include "core/json.h"

#include <cstddef>

#include <rapidjson/stringbuffer.h>

namespace klb {

using JsonText = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, JsonAllocator>;

/// What a text may have at most: indentation grows with the square of the depth.
constexpr std::size_t kMaxJsonTextSize = std::size_t{1} << 30;

/// Writes an object of objects, texts and truth values as RapidJSON's PrettyWriter does, at any
/// depth without recursion. \throws std::length_error before it takes memory for a text of more
/// bytes than that.
void writeIndented(const JsonValue& object, JsonText& text, std::size_t maxSize = kMaxJsonTextSize);

} // namespace klb

#endif
