#include "documents/json_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace klb {
namespace {

std::string written(const JsonValue& object) {
    JsonText text;
    writeIndented(object, text);
    return std::string(text.view());
}

TEST(WriteIndented, WritesAsRapidJsonDoes) {
    const char* const texts[] = {
        "{}",
        R"({"a":{},"b":true,"c":false,"d":"","":{"":{"e":{}}}})",
        R"({"quotes \" \\ / \b\f\n\r\t \u0001\u001f\u007f":"é \ud83d\ude00 \u0000 </a>"})",
    };
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        JsonDocument document;
        document.Parse(text);
        ASSERT_FALSE(document.HasParseError());
        rapidjson::StringBuffer expected;
        rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(expected);
        document.Accept(writer);
        EXPECT_EQ(written(document), std::string(expected.GetString(), expected.GetSize()));
    }
}

TEST(WriteIndented, TakesAStringOfAnySize) {
    // RapidJSON reserves six times the length and two, in 32 bits, which would be a few bytes here.
    const std::string longText((std::size_t{1} << 32) / 6 + 1, 'x');
    JsonDocument document;
    document.SetObject();
    document.AddMember("k",
                       JsonValue(rapidjson::StringRef(
                           longText.data(), static_cast<rapidjson::SizeType>(longText.size()))),
                       document.GetAllocator());
    JsonText text;
    writeIndented(document, text);
    EXPECT_EQ(text.view().size(), longText.size() + std::strlen("{\n    \"k\": \"\"\n}"));
    EXPECT_EQ(text.view().substr(text.view().size() - 5), "xx\"\n}");
}

/// Tells a handler of an object that many levels deep, with a text at the bottom.
template <class Handler>
void tellOfDepth(Handler& handler, std::size_t levels, std::string_view text) {
    for (std::size_t i = 0; i < levels; ++i) {
        handler.StartObject();
        handler.Key("k", 1, false);
    }
    handler.String(text.data(), static_cast<rapidjson::SizeType>(text.size()), true);
    for (std::size_t i = 0; i < levels; ++i) {
        handler.EndObject(1);
    }
}

TEST(JsonSizeBound, IsNotBelowTheSize) {
    for (const std::size_t levels : {1U, 3U, 100U}) {
        for (const char* text : {"", "text", "\x01\x02\x03\x04\x05\x06\x07", "\"\\"}) {
            JsonText written;
            IndentingWriter<JsonText> writer(written);
            tellOfDepth(writer, levels, text);
            JsonSizeBound bound;
            tellOfDepth(bound, levels, text);
            EXPECT_GE(bound.bytes(), written.view().size());
        }
    }
}

TEST(LimitedStream, RefusesATextThatIsTooLong) {
    constexpr std::string_view kText = "text \n with \x01 escapes";
    JsonText written;
    IndentingWriter<JsonText> writer(written);
    tellOfDepth(writer, 3, kText);
    const std::size_t size = written.view().size();
    for (const std::size_t maxSize : {size + 1, size, size - 1, size / 2, std::size_t{0}}) {
        SCOPED_TRACE(maxSize);
        LimitedStream stream(maxSize);
        IndentingWriter<LimitedStream> counting(stream);
        if (maxSize >= size) {
            tellOfDepth(counting, 3, kText);
        } else {
            EXPECT_THROW(tellOfDepth(counting, 3, kText), std::length_error);
        }
    }
}

} // namespace
} // namespace klb
