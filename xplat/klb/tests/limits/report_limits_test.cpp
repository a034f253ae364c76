#include "library_session.h"
#include "limit_helpers.h"
#include "limit_row.h"
#include "report_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace klb::test {

namespace {

std::string_view reportBegin() {
    return "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {\n";
}

unsigned long long reportSize() {
    return KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0);
}

/// The first bytes of the report, as many as the expected text has.
void expectReportBeginsWith(const std::string& expected) {
    std::string text(expected.size() + 1, '#');
    EXPECT_EQ(KLB_GetDefaultToggleJson(nullptr, nullptr, text.data(), text.size()), text.size());
    EXPECT_EQ(text, expected + '\0');
}

TEST(Limits, DefaultToggleReport) {
    LimitRow row("bytes of a comment in the default toggle report",
                 {(std::uint64_t{1} << 32) - 2, 1'000'000});
    if (!row.fits(14 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const LibrarySession library;
    KLB_RegisterToggle("/a", false, "core");
    const std::uint64_t sizeWithout = reportSize();
    KLB_AddToggleComment("/a", std::string(row.size(), 'c').c_str());
    const std::string_view around = ",\n            \"KLB_ToggleComment\": \"\"";
    row.timed([&] { EXPECT_EQ(reportSize(), sizeWithout + around.size() + row.size()); });
    expectReportBeginsWith(std::string(reportBegin()) +
                           "        \"a\": {\n"
                           "            \"KLB_DefaultValue\": false,\n"
                           "            \"KLB_IsDynamic\": false,\n"
                           "            \"KLB_ToggleFileToken\": \"core\",\n"
                           "            \"KLB_ToggleComment\": \"ccc");
    row.beyond("`std::bad_alloc`, with or without a callback");
}

constexpr std::string_view kReportEntry = "        \"t00000000\": {\n"
                                          "            \"KLB_DefaultValue\": false,\n"
                                          "            \"KLB_IsDynamic\": false,\n"
                                          "            \"KLB_ToggleFileToken\": \"core\",\n"
                                          "            \"KLB_ToggleComment\": \"c00000000\"\n"
                                          "        },\n";

TEST(Limits, TogglesInReport) {
    // What stands around the entries, of which the last one has no comma.
    constexpr std::uint64_t kAround = 56;
    LimitRow row("toggles in the default toggle report, each with a comment", {10'000'000, 5'000});
    if (!row.fits(14 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const LibrarySession library;
    NumberedText key("/t");
    NumberedText comment("c");
    for (std::uint64_t i = 0; i < row.size(); ++i, ++key, ++comment) {
        KLB_RegisterToggle(key.c_str(), false, "core");
        KLB_AddToggleComment(key.c_str(), comment.c_str());
    }
    {
        std::string text(kAround + row.size() * kReportEntry.size() + 1, '#');
        EXPECT_EQ(row.timed([&] {
            return KLB_GetDefaultToggleJson(nullptr, nullptr, text.data(), text.size());
        }),
                  text.size());
        EXPECT_TRUE(text.starts_with(std::string(reportBegin()) + std::string(kReportEntry)));
        std::string last(kReportEntry);
        const std::string number = std::to_string(row.size() - 1);
        last.replace(last.find("t0000") + 9 - number.size(), number.size(), number);
        last.replace(last.find("c0000") + 9 - number.size(), number.size(), number);
        last.replace(last.size() - 2, 2, "\n    }\n}");
        last += '\0';
        EXPECT_TRUE(text.ends_with(last)) << text.substr(text.size() - 300);
    }
    row.beyond("no limit met");
}

std::uint64_t deepReportSize(std::uint64_t segments) {
    const auto line = [](std::uint64_t level, std::string_view text) {
        return 4 * level + text.size() + 1;
    };
    std::uint64_t size = reportBegin().size();
    for (std::uint64_t i = 0; i < segments; ++i) {
        size += line(2 + i, "\"s\": {") + line(2 + i, "}");
    }
    return size + line(2 + segments, "\"KLB_DefaultValue\": false,") +
           line(2 + segments, "\"KLB_IsDynamic\": false,") +
           line(2 + segments, "\"KLB_ToggleFileToken\": \"core\"") + line(1, "}") + 1;
}

void registerDeepKey(std::uint64_t segments) {
    std::string key;
    for (std::uint64_t i = 0; i < segments; ++i) {
        key += "/s";
    }
    KLB_RegisterToggle(key.c_str(), false, "core");
}

TEST(Limits, DepthOfReport) {
    LimitRow row("segments of a key in the default toggle report", {10'000'000, 500});
    if (!row.fits(4 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const LibrarySession library;
    registerDeepKey(row.size());
    row.timed([&] { EXPECT_EQ(reportSize(), deepReportSize(row.size()) + 1); });
    expectReportBeginsWith(std::string(reportBegin()) + "        \"s\": {\n            \"s\": {\n");
    row.beyond("no limit met");
}

TEST(Limits, OverrideInformation) {
    LimitRow row("bytes of the override information, most of them a token",
                 {kBeyond32Bits, 1'000'001});
    if (!row.fits(10 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", R"({"a":true})");
    const std::string end = " : " + path + "\n/a : true\n";
    const std::uint64_t tokenSize = row.size() - end.size();
    const LibrarySession library;
    {
        const std::string token(tokenSize, 't');
        registerPlainFile(token.c_str(), path);
        KLB_RegisterToggle("/a", false, token.c_str());
    }
    row.timed([&] { EXPECT_EQ(KLB_GetOverrideInfoString(nullptr, 0), row.size() + 1); });
    std::string text(row.size() + 1, '#');
    row.timed([&] { EXPECT_EQ(KLB_GetOverrideInfoString(text.data(), text.size()), text.size()); });
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    EXPECT_EQ(text.find_first_not_of('t'), tokenSize);
    EXPECT_EQ(text.substr(tokenSize), end);
    text.assign(10, '#');
    EXPECT_EQ(KLB_GetOverrideInfoString(text.data(), 4), 4U);
    EXPECT_EQ(text, std::string("ttt\0######", 10));
}

} // namespace

} // namespace klb::test
