#include "library_session.h"
#include "message_recorder.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace klb::test {

namespace {

/// What a document holds for a key: a boolean, or nothing that counts.
struct Entry {
    std::string key;
    std::optional<bool> value;
};

constexpr std::nullopt_t kNotFound = std::nullopt;

/// Registers every key against the document and compares the values, with both defaults so that an
/// entry that was not found shows.
void expectEntries(KLB_ToggleFileType type, std::string_view document,
                   const std::vector<Entry>& entries) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", document);
    for (const bool defaultValue : {false, true}) {
        SCOPED_TRACE(defaultValue ? "default true" : "default false");
        MessageRecorder recorder;
        const LibrarySession library;
        KLB_RegisterToggleFile(type, "core", path.c_str());
        for (const Entry& entry : entries) {
            SCOPED_TRACE(entry.key);
            EXPECT_EQ(registeredValue(entry.key, defaultValue, "core"),
                      entry.value.value_or(defaultValue));
        }
        EXPECT_EQ(recorder.take(), std::vector<Message>{});
    }
}

void expectEntries(std::string_view document, const std::vector<Entry>& entries) {
    SCOPED_TRACE(document.substr(0, 200));
    expectEntries(KLB_ToggleFileType_Supported, document, entries);
}

TEST(ToggleFileEntry, WalksTheLevelsOfTheKey) {
    expectEntries(featuresFile(R"("editor":{"fastPath":true,"export":{"pdf":false}},"beta":true)"),
                  {
                      {"/editor/fastPath", true},
                      {"/editor/export/pdf", false},
                      {"/beta", true},
                      {"/editor", kNotFound},
                      {"/editor/export", kNotFound},
                      {"/editor/export/pdf/x", kNotFound},
                      {"/editor/export/pdf/", kNotFound},
                      {"/beta/", kNotFound},
                      {"/beta/x", kNotFound},
                      {"/missing", kNotFound},
                      {"/editor/missing", kNotFound},
                      {"/missing/fastPath", kNotFound},
                      {"/fastPath", kNotFound},
                      {"/export/pdf", kNotFound},
                      {"/editor/export/fastPath", kNotFound},
                      {"/editor/", kNotFound},
                      {"/editor//fastPath", kNotFound},
                      {"//editor/fastPath", kNotFound},
                      {"/", kNotFound},
                      {"//", kNotFound},
                  });
}

TEST(ToggleFileEntry, NestedEntryIsReachedByItsWholeKeyOnly) {
    expectEntries(featuresFile(R"("a":{"b":true})"),
                  {{"/a/b", true}, {"/a", kNotFound}, {"/b", kNotFound}, {"/a/b/c", kNotFound}});
}

TEST(ToggleFileEntry, OnlyABooleanCounts) {
    expectEntries(featuresFile(R"("yes":true,"no":false,"zero":0,"one":1,"half":0.5,"text":"true",)"
                               R"("empty":"","null":null,"array":[],"trues":[true],"object":{},)"
                               R"("nested":{"zero":0,"text":"true","null":null,"yes":true})"),
                  {
                      {"/yes", true},
                      {"/no", false},
                      {"/zero", kNotFound},
                      {"/one", kNotFound},
                      {"/half", kNotFound},
                      {"/text", kNotFound},
                      {"/empty", kNotFound},
                      {"/null", kNotFound},
                      {"/array", kNotFound},
                      {"/trues", kNotFound},
                      {"/object", kNotFound},
                      {"/nested/zero", kNotFound},
                      {"/nested/text", kNotFound},
                      {"/nested/null", kNotFound},
                      {"/nested/yes", true},
                  });
}

TEST(ToggleFileEntry, EntryWithADefaultValueMemberIsNotFound) {
    expectEntries(featuresFile(R"("a":{"KLB_DefaultValue":true},"b":{"KLB_DefaultValue":false},)"
                               R"("c":{"/KLB_DefaultValue":true,"":{"KLB_DefaultValue":true}})"),
                  {
                      {"/a", kNotFound},
                      {"/b", kNotFound},
                      {"/c", kNotFound},
                      {"/c/", kNotFound},
                      {"/a/KLB_DefaultValue", true},
                      {"/b/KLB_DefaultValue", false},
                      {"/c//KLB_DefaultValue", true},
                  });
}

TEST(ToggleFileEntry, OnlyObjectsAreEntered) {
    expectEntries(featuresFile(R"("array":[{"x":true}],"text":"x","number":1,"null":null,)"
                               R"("true":true,"object":{"x":true})"),
                  {
                      {"/array/x", kNotFound},
                      {"/array/0/x", kNotFound},
                      {"/array/0", kNotFound},
                      {"/array/", kNotFound},
                      {"/text/x", kNotFound},
                      {"/number/x", kNotFound},
                      {"/null/x", kNotFound},
                      {"/true/x", kNotFound},
                      {"/object/x", true},
                  });
}

TEST(ToggleFileEntry, EmptySegmentsNameEmptyMembers) {
    const std::string oneEmptyName = featuresFile(R"("":true,"a":{"":false,"b":true})");
    expectEntries(oneEmptyName, {
                                    {"/", true},
                                    {"/a/", false},
                                    {"/a/b", true},
                                    {"/a//b", kNotFound},
                                    {"//", kNotFound},
                                    {"/a//", kNotFound},
                                });
    const std::string nestedEmptyNames =
        featuresFile(R"("":{"":{"":true,"x":false},"x":true},"a":{"":{"b":true,"":false}})");
    expectEntries(nestedEmptyNames, {
                                        {"///", true},
                                        {"///x", false},
                                        {"//x", true},
                                        {"/", kNotFound},
                                        {"//", kNotFound},
                                        {"////", kNotFound},
                                        {"/a//b", true},
                                        {"/a//", false},
                                        {"/a/", kNotFound},
                                    });
}

TEST(ToggleFileEntry, NamesAreExactBytes) {
    expectEntries(
        featuresFile(R"("Name":true,"a.b":true,"a-b":true,"a b":true,"a\\b":true,"a/b":true,)"
                     R"("a":{"b":false},"esc\u0061ped":true,"\"":true,"nul\u0000":true,)"
                     R"("nul\u0000led":true,"\u0000":true,"prefix":true,)"
                     "\"\xC3\xA9\":true,\"e\xCC\x81\":false,\"\\u00fc\":true,"
                     R"("\ud83d\ude00":true)"),
        {
            {"/Name", true},
            {"/name", kNotFound},
            {"/NAME", kNotFound},
            {"/a.b", true},
            {"/a-b", true},
            {"/a b", true},
            {"/a\\b", true},
            {"/a/b", false},    // two levels; no key reaches a member with a slash in its name
            {"/escaped", true}, // the name after its escapes
            {"/esc\\u0061ped", kNotFound},
            {"/\"", true},
            {"/nul", kNotFound}, // the names with a NUL are longer
            {"/", kNotFound},
            {"/prefi", kNotFound},
            {"/prefixed", kNotFound},
            {"/prefix ", kNotFound},
            {"/\xC3\xA9", true}, // composed and decomposed are two names
            {"/e\xCC\x81", false},
            {"/\xC3\xBC", true},
            {"/\xF0\x9F\x98\x80", true},
        });
}

TEST(ToggleFileEntry, NameWithANulIsNotItsBeginning) {
    expectEntries(featuresFile(R"("a\u0000":true,"\u0000":true,"b\u0000":1,"b":true)"),
                  {
                      {"/a", kNotFound},
                      {"/", kNotFound},
                      {"/b", true},
                  });
}

TEST(ToggleFileEntry, FirstOfEqualNamesCounts) {
    expectEntries(featuresFile(R"("a":true,"a":false,"b":false,"b":true,"c":1,"c":true,)"
                               R"("d":{"x":true},"d":{"x":false,"y":true},"e":true,"e":{"x":true},)"
                               R"("f":{"x":true},"f":true,"g":{"x":1,"x":true},"g":{"x":true})"),
                  {
                      {"/a", true},
                      {"/b", false},
                      {"/c", kNotFound},
                      {"/d/x", true},
                      {"/d/y", kNotFound},
                      {"/e", true},
                      {"/e/x", kNotFound},
                      {"/f", kNotFound},
                      {"/f/x", true},
                      {"/g/x", kNotFound},
                  });
}

/// "<prefix>0":value, "<prefix>1":value, and so on.
std::string numberedMembers(const std::string& prefix, int count, const char* value) {
    std::string members;
    for (int i = 0; i < count; ++i) {
        members += (i ? ",\"" : "\"") + prefix + std::to_string(i) + "\":" + value;
    }
    return members;
}

TEST(ToggleFileEntry, WideObjectsKeepTheSameRules) {
    for (const int width : {4, 5, 6, 7, 8, 100, 5000}) {
        SCOPED_TRACE(width);
        const std::string last = std::to_string(width - 1);
        // At both levels: every name, then every name again with another value, then odd ones.
        const std::string names = numberedMembers("n", width, "true") + "," +
                                  numberedMembers("n", width, "false") +
                                  R"(,"":false,"late":1,"late":true,"nul\u0000":true,"Case":true)";
        const std::string document = featuresFile(names + R"(,"wide":{)" + names + "}");
        std::vector<Entry> entries;
        for (const char* level : {"/", "/wide/"}) {
            const std::vector<Entry> ofLevel = {
                {"n0", true},        {"n" + last, true},       {"n" + last + "0000", kNotFound},
                {"", false},         {"late", kNotFound},      {"nul", kNotFound},
                {"case", kNotFound}, {"Case", true},           {"n0/", kNotFound},
                {"n0/x", kNotFound}, {"wide/wide", kNotFound},
            };
            for (const Entry& entry : ofLevel) {
                entries.push_back({level + entry.key, entry.value});
            }
        }
        entries.push_back({"/wide", kNotFound});
        for (int i = 1; i + 1 < width; ++i) {
            entries.push_back({"/n" + std::to_string(i), true});
            entries.push_back({"/wide/n" + std::to_string(i), true});
        }
        expectEntries(document, entries);
    }
}

TEST(ToggleFileEntry, DeepKeysReachDeepEntries) {
    std::string document = "true";
    std::string key;
    for (int level = 0; level < 200; ++level) {
        document = R"({"level":)" + document + R"(,"other":false})";
        key += "/level";
    }
    expectEntries(document, {
                                {key, true},
                                {key.substr(6) + "/other", false},
                                {key.substr(6), kNotFound},
                                {key + "/level", kNotFound},
                                {key + "/", kNotFound},
                                {"/other", false},
                            });
}

TEST(ToggleTree, IsTheFeaturesMemberWhereThereIsOne) {
    expectEntries(R"({"a":true,"features":{"b":true,"features":{"c":true}},"d":{"e":true},)"
                  R"("header":{"systemId":"TestSystem","flag":true}})",
                  {
                      {"/b", true},
                      {"/features/c", true},
                      {"/a", kNotFound},
                      {"/c", kNotFound},
                      {"/d/e", kNotFound},
                      {"/features/b", kNotFound},
                      {"/header/flag", kNotFound},
                  });
}

TEST(ToggleTree, IsTheRootWithoutFeatures) {
    expectEntries(
        R"({"header":{"systemId":"TestSystem","flag":true},"a":true,"Features":{"b":true}})",
        {
            {"/a", true},
            {"/Features/b", true},
            {"/b", kNotFound},
            {"/header/flag", true},
            {"/header/systemId", kNotFound},
            {"/header", kNotFound},
            {"/features", kNotFound},
            {"/features/a", kNotFound},
        });
}

TEST(ToggleTree, IsEmptyWhenFeaturesIsNoObject) {
    for (const char* features :
         {"[]", R"([{"a":true}])", "true", "false", "null", "1", R"("a")", "{}"}) {
        expectEntries(R"({"a":true,"b":{"c":true},"features":)" + std::string(features) + "}",
                      {
                          {"/a", kNotFound},
                          {"/b/c", kNotFound},
                          {"/features", kNotFound},
                          {"/features/a", kNotFound},
                          {"/", kNotFound},
                      });
    }
}

TEST(ToggleTree, IsTheFirstFeaturesMember) {
    expectEntries(R"({"features":{"a":true},"features":{"a":false,"b":true}})",
                  {{"/a", true}, {"/b", kNotFound}});
    expectEntries(R"({"features":[],"features":{"a":true}})", {{"/a", kNotFound}});
}

TEST(ToggleTree, OfAHostFileOfTheOverrideTypeIsItsFeaturesToo) {
    expectEntries(KLB_ToggleFileType_Override, R"({"a":true,"features":{"b":true}})",
                  {{"/b", true}, {"/a", kNotFound}, {"/features/b", kNotFound}});
    expectEntries(KLB_ToggleFileType_Override, R"({"a":true,"b":false})",
                  {{"/a", true}, {"/b", false}});
}

} // namespace

} // namespace klb::test
