#include "library_session.h"
#include "limit_helpers.h"
#include "limit_row.h"
#include "report_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace klb::test {

namespace {

/// What the text of a default toggle report has at most.
constexpr std::uint64_t kLargestReport = kGiB;
constexpr const char* kBeyondReport =
    "`std::length_error`, \"The JSON text would be too long.\", with or without a callback";

std::string_view reportBegin() {
    return "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {\n";
}

std::string_view reportEnd() {
    return "        }\n    }\n}";
}

unsigned long long reportSize() {
    return KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0);
}

/// The report of what is registered is refused, in either error mode and before the buffer is
/// touched.
void expectReportTooLong(ErrorObserver& observer) {
    std::string buffer = "untouched";
    observer.expectAlwaysThrows<std::length_error>(kTextTooLong, [&] {
        KLB_GetDefaultToggleJson(nullptr, nullptr, buffer.data(), buffer.size());
    });
    EXPECT_EQ(buffer, "untouched");
    observer.expectAlwaysThrows<std::length_error>(kTextTooLong, [] { reportSize(); });
}

/// A comment that makes a report that long, and stands in it as it is.
void registerForReport(std::uint64_t size) {
    constexpr std::string_view kAround = "{\n"
                                         "    \"KLB_ToggleFiles\": {},\n"
                                         "    \"KLB_Toggles\": {\n"
                                         "        \"a\": {\n"
                                         "            \"KLB_DefaultValue\": false,\n"
                                         "            \"KLB_IsDynamic\": false,\n"
                                         "            \"KLB_ToggleFileToken\": \"core\",\n"
                                         "            \"KLB_ToggleComment\": \"\"\n"
                                         "        }\n"
                                         "    }\n"
                                         "}";
    const std::string comment(size - kAround.size(), 'c');
    KLB_RegisterToggle("/a", false, "core");
    KLB_AddToggleComment("/a", comment.c_str());
}

TEST(Limits, DefaultToggleReport) {
    LimitRow row("bytes of the default toggle report, most of them a comment",
                 {kLargestReport, 1'000'000});
    if (!row.fits(5 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    {
        const LibrarySession library;
        registerForReport(row.size());
        std::string text;
        row.timed([&] { text = defaultToggleJson(); });
        EXPECT_EQ(text.size(), row.size());
        EXPECT_TRUE(text.starts_with(reportBegin()));
        EXPECT_TRUE(text.ends_with("ccc\"\n" + std::string(reportEnd())));
        EXPECT_EQ(text.find_first_not_of('c', text.find("ccc")), text.rfind("\"\n"));
    }
    if (LimitRow::isWhole()) {
        inBothErrorModes([](ErrorObserver& observer) {
            const LibrarySession library;
            registerForReport(kLargestReport + 1);
            expectReportTooLong(observer);
            EXPECT_FALSE(KLB_GetToggle("/a"));
        });
    }
    row.beyond(kBeyondReport);
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
    constexpr std::uint64_t kMost = (kLargestReport - kAround) / kReportEntry.size();
    LimitRow row("toggles in the default toggle report, each with a comment", {kMost, 5'000});
    if (!row.fits(8 * kGiB)) {
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
    if (LimitRow::isWhole()) {
        KLB_RegisterToggle(key.c_str(), false, "core");
        KLB_AddToggleComment(key.c_str(), comment.c_str());
        inBothErrorModes([](ErrorObserver& observer) { expectReportTooLong(observer); });
    }
    row.beyond(kBeyondReport);
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
    std::uint64_t deepest = 16'000;
    while (deepReportSize(deepest + 1) <= kLargestReport) {
        ++deepest;
    }
    LimitRow row("segments of a key in the default toggle report", {deepest, 500});
    if (!row.fits(3 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    {
        const LibrarySession library;
        registerDeepKey(row.size());
        std::string text;
        row.timed([&] { text = defaultToggleJson(); });
        EXPECT_EQ(text.size(), deepReportSize(row.size()));
        EXPECT_TRUE(text.starts_with(std::string(reportBegin()) + "        \"s\": {\n"));
        EXPECT_TRUE(text.ends_with("            }\n" + std::string(reportEnd())));
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        registerDeepKey(deepest + 1);
        expectReportTooLong(observer);
    });
    row.beyond(kBeyondReport);
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
