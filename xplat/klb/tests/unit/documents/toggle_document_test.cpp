#include "documents/toggle_document.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace klb {
namespace {

std::unique_ptr<ToggleDocument> documentOf(const std::string& text) {
    auto document = std::make_unique<ToggleDocument>();
    document->root.Parse(text.data(), text.size());
    EXPECT_FALSE(document->root.HasParseError());
    return document;
}

std::optional<bool> lookUp(ToggleDocument& document, std::string_view key) {
    return lookupDocumentValue(key, document, document.root);
}

/// An object text with the given members first and enough others to be indexed.
std::string wide(const std::string& members) {
    std::string text = "{" + members;
    for (int i = 0; i < 50; ++i) {
        text += ",\"filler" + std::to_string(i) + "\":" + (i % 2 == 0 ? "true" : "false");
    }
    return text + "}";
}

TEST(LookupDocumentValue, WalksObjectsToABoolean) {
    struct Case {
        const char* name;
        std::string_view key;
        std::optional<bool> expected;
    };
    const std::string members = R"("t":true,"f":false,"n":1,"s":"x","a":[],"z":null,)"
                                R"("":{"":true,"e":true},"o":{"t":true,"":{"x":false},)"
                                R"("KLB_DefaultValue":true},"d":false,"d":true,)"
                                R"("nul\u0000l":true,"T":false)";
    const Case cases[] = {
        {"true", "/t", true},
        {"false", "/f", false},
        {"letter case counts", "/T", false},
        {"number", "/n", std::nullopt},
        {"string", "/s", std::nullopt},
        {"array", "/a", std::nullopt},
        {"null", "/z", std::nullopt},
        {"object, whatever its members", "/o", std::nullopt},
        {"its member by its own key", "/o/KLB_DefaultValue", true},
        {"a level down", "/o/t", true},
        {"past a boolean", "/t/x", std::nullopt},
        {"past a number", "/n/x", std::nullopt},
        {"missing", "/missing", std::nullopt},
        {"missing below", "/o/missing", std::nullopt},
        {"the empty name names an object", "/", std::nullopt},
        {"empty names on two levels", "//", true},
        {"an empty name on the way", "//e", true},
        {"an empty name in the middle", "/o//x", false},
        {"a slash at the end", "/o/", std::nullopt},
        {"no slash", "t", std::nullopt},
        {"empty", "", std::nullopt},
        {"the first of two", "/d", false},
        {"a NUL in a name", std::string_view("/nul\0l", 6), true},
        {"up to the NUL only", "/nul", std::nullopt},
    };
    for (const std::string& text : {"{" + members + "}", wide(members)}) {
        const auto document = documentOf(text);
        for (const Case& c : cases) {
            SCOPED_TRACE(c.name);
            EXPECT_EQ(lookUp(*document, c.key), c.expected);
        }
    }
}

TEST(LookupDocumentValue, ATreeThatIsNoObjectHasNoEntries) {
    const auto document = documentOf("true");
    EXPECT_EQ(lookUp(*document, "/a"), std::nullopt);
    EXPECT_EQ(lookUp(*document, ""), std::nullopt);
}

TEST(LookupDocumentValue, IndexesOnlyWideObjectsAndEachOnce) {
    const auto narrow = documentOf(R"({"a":{"b":true}})");
    EXPECT_EQ(lookUp(*narrow, "/a/b"), true);
    EXPECT_TRUE(narrow->wideObjects.empty());

    const auto document = documentOf(wide("\"a\":" + wide("\"b\":true")));
    EXPECT_EQ(lookUp(*document, "/filler1"), false);
    EXPECT_EQ(document->wideObjects.size(), 1U);
    EXPECT_EQ(lookUp(*document, "/a/b"), true);
    EXPECT_EQ(lookUp(*document, "/a/filler2"), true);
    EXPECT_EQ(document->wideObjects.size(), 2U);
}

} // namespace
} // namespace klb
