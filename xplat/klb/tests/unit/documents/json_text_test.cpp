#include "documents/json_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include <rapidjson/prettywriter.h>

namespace klb {
namespace {

std::string written(const JsonValue& object) {
    JsonText text;
    writeIndented(object, text);
    return {text.GetString(), text.GetSize()};
}

/// An object that many levels deep, with a text at the bottom.
JsonDocument deepDocument(std::size_t levels, const std::string& text) {
    JsonDocument document;
    auto source = [&](JsonDocument& events) {
        for (std::size_t i = 0; i < levels; ++i) {
            events.StartObject();
            events.Key("k", 1, false);
        }
        events.String(text.data(), static_cast<rapidjson::SizeType>(text.size()), true);
        for (std::size_t i = 0; i < levels; ++i) {
            events.EndObject(1);
        }
        return true;
    };
    document.Populate(source);
    return document;
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

TEST(WriteIndented, RefusesATextThatIsTooLong) {
    const JsonDocument document = deepDocument(3, "text \n with \x01 escapes");
    const std::size_t size = written(document).size();
    for (const std::size_t maxSize : {size + 1, size}) {
        JsonText text;
        writeIndented(document, text, maxSize);
        EXPECT_EQ(text.GetSize(), size);
    }
    for (const std::size_t maxSize : {size - 1, size / 2, std::size_t{0}}) {
        JsonText text;
        EXPECT_THROW(writeIndented(document, text, maxSize), std::length_error);
        EXPECT_EQ(text.stack_.GetCapacity(), 0U);
    }
}

TEST(WriteIndented, RefusesWhatIndentationMakesLongerThanOneGibibyte) {
    JsonText text;
    EXPECT_THROW(writeIndented(deepDocument(1'000'000, ""), text), std::length_error);
    EXPECT_EQ(text.stack_.GetCapacity(), 0U);
}

} // namespace
} // namespace klb
