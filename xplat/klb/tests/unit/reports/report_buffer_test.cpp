#include "reports/report_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>

namespace klb {
namespace {

std::uint64_t write(const std::string& text, char* buffer, std::uint64_t bufferSize) {
    ReportBuffer report(buffer, bufferSize);
    report.append(text);
    EXPECT_EQ(report.size(), text.size());
    return report.finish();
}

TEST(ReportBuffer, CountsTheNul) {
    EXPECT_EQ(write("", nullptr, 0), 1U);
    EXPECT_EQ(write("abc", nullptr, 0), 4U);
    EXPECT_EQ(write("abc", nullptr, 2), 4U);
    EXPECT_EQ(write("abc", nullptr, std::numeric_limits<std::uint64_t>::max()), 4U);
}

/// What a buffer of ten '#' holds after a text of "abc  d" was written to so many bytes of it.
std::string bufferAfter(std::size_t size) {
    const std::string text = "abc  d";
    std::string expected(10, '#');
    if (size > 0) {
        const std::size_t kept = std::min(size - 1, text.size());
        expected.replace(0, kept, text, 0, kept);
        expected[kept] = '\0';
    }
    return expected;
}

TEST(ReportBuffer, FillsTheBufferAndNothingElse) {
    for (std::size_t size = 0; size <= 10; ++size) {
        SCOPED_TRACE(size);
        std::string whole(10, '#');
        EXPECT_EQ(write("abc  d", whole.data(), size), std::min<std::size_t>(size, 7));
        EXPECT_EQ(whole, bufferAfter(size));

        std::string pieces(10, '#');
        ReportBuffer report(pieces.data(), size);
        report.append("a");
        report.append("bc");
        PutN(report, ' ', 2);
        report.append("");
        report.Put('d');
        EXPECT_EQ(report.size(), 6U);
        EXPECT_EQ(report.finish(), std::min<std::size_t>(size, 7));
        EXPECT_EQ(pieces, bufferAfter(size));
    }
}

TEST(ReportBuffer, TakesABufferOfAnySize) {
    std::string buffer(4, '#');
    EXPECT_EQ(write("abc", buffer.data(), std::numeric_limits<std::uint64_t>::max()), 4U);
    EXPECT_EQ(buffer, std::string("abc\0", 4));
}

} // namespace
} // namespace klb
