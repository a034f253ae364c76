#include "reports/json_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace klb {
namespace {

std::string written(const JsonValue& object, std::size_t depth = 1) {
    std::string text(1000, '#');
    ReportBuffer report(text.data(), text.size());
    writeIndented(object, depth, report);
    text.resize(static_cast<std::size_t>(report.size()));
    return text;
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
        // The depth is about memory and not about the text.
        for (const std::size_t depth : {0U, 1U, 3U, 100U}) {
            EXPECT_EQ(written(document, depth),
                      std::string(expected.GetString(), expected.GetSize()));
        }
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
    const std::string_view begin = "{\n    \"k\": \"";
    const std::string_view end = "\"\n}";
    std::string text(begin.size() + longText.size() + end.size() + 1, '#');
    ReportBuffer report(text.data(), text.size());
    writeIndented(document, 1, report);
    EXPECT_EQ(report.finish(), text.size());
    EXPECT_TRUE(text.starts_with(begin));
    EXPECT_EQ(text.compare(begin.size(), longText.size(), longText), 0);
    EXPECT_EQ(text.substr(begin.size() + longText.size()), std::string(end) + '\0');
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

TEST(JsonSizeBound, IsNotBelowTheSizeAndKnowsTheDepth) {
    for (const std::size_t levels : {1U, 3U, 100U}) {
        for (const char* text : {"", "text", "\x01\x02\x03\x04\x05\x06\x07", "\"\\"}) {
            ReportBuffer report(nullptr, 0);
            IndentingWriter<ReportBuffer> writer(report);
            tellOfDepth(writer, levels, text);
            JsonSizeBound bound;
            tellOfDepth(bound, levels, text);
            EXPECT_GE(bound.bytes(), report.size());
            EXPECT_EQ(bound.depth(), levels);
        }
    }
}

TEST(LimitedStream, RefusesATextThatIsTooLong) {
    constexpr std::string_view kText = "text \n with \x01 escapes";
    ReportBuffer report(nullptr, 0);
    IndentingWriter<ReportBuffer> writer(report);
    tellOfDepth(writer, 3, kText);
    const auto size = static_cast<std::size_t>(report.size());
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
