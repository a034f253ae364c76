#include "core/report_buffer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <string>

namespace klb {
namespace {

TEST(CopyReport, CountsTheNul) {
    EXPECT_EQ(copyReport("", nullptr, 0), 1U);
    EXPECT_EQ(copyReport("abc", nullptr, 0), 4U);
    EXPECT_EQ(copyReport("abc", nullptr, 2), 4U);
    EXPECT_EQ(copyReport("abc", nullptr, std::numeric_limits<std::uint64_t>::max()), 4U);
}

TEST(CopyReport, FillsTheBufferAndNothingElse) {
    const std::string text = "abc";
    for (std::size_t size = 0; size <= text.size() + 3; ++size) {
        SCOPED_TRACE(size);
        std::string buffer(10, '#');
        const std::uint64_t written = copyReport(text, buffer.data(), size);
        EXPECT_EQ(written, size < 4 ? size : 4);
        std::string expected(10, '#');
        if (size > 0) {
            const std::size_t kept = size < 4 ? size - 1 : 3;
            expected.replace(0, kept, text, 0, kept);
            expected[kept] = '\0';
        }
        EXPECT_EQ(buffer, expected);
    }
}

} // namespace
} // namespace klb
