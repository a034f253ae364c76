#include "documents/exponents.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace klb {
namespace {

std::string limited(const std::string& text) {
    std::vector<char> bytes(text.begin(), text.end());
    limitExponents(bytes);
    return {bytes.begin(), bytes.end()};
}

void expectUnchanged(const std::string& text) {
    EXPECT_EQ(limited(text), text);
}

TEST(LimitExponents, ClearsNegativeOnesBeyondAnIntWithTheDecimals) {
    EXPECT_EQ(limited("0.0000000001e-2147483639"), "0.0000000001e-0000000000");
    EXPECT_EQ(limited(R"({"a":-1.5E-2147483648,"b":[0.1e-99999999999999999999]})"),
              R"({"a":-1.5E-0000000000,"b":[0.1e-00000000000000000000]})");
    EXPECT_EQ(limited("[0.12e-2147483645,0.12e-2147483646]"),
              "[0.12e-2147483645,0.12e-0000000000]");
    EXPECT_EQ(limited("0.1e-000000000002147483647"), "0.1e-000000000000000000000");
}

TEST(LimitExponents, MakesNumbersTooBigWithoutTheirExponent) {
    EXPECT_EQ(limited("0.01e2147483648"), "0.11e2147483648");
    EXPECT_EQ(limited("[0.01E+99999999999999999999]"), "[0.11E+99999999999999999999]");
    expectUnchanged("0.01e2147483647");
}

TEST(LimitExponents, LeavesWhatTheParserLimits) {
    expectUnchanged("");
    expectUnchanged("1e-99999999999");
    expectUnchanged("1e99999999999");
    expectUnchanged("0.5e-123456789");
    expectUnchanged("0.5e-0000000001");
    expectUnchanged("0.5e+0000000001");
    expectUnchanged("12345678901234567890.12345678901234567890");
    expectUnchanged("2147483639");
}

TEST(LimitExponents, LeavesStrings) {
    expectUnchanged(R"("0.1e-9999999999")");
    EXPECT_EQ(limited(R"({"0.1e-9999999999":0.1e-9999999999})"),
              R"({"0.1e-9999999999":0.1e-0000000000})");
    EXPECT_EQ(limited(R"({"\"0.1e-9999999999\\":0.1e-9999999999})"),
              R"({"\"0.1e-9999999999\\":0.1e-0000000000})");
    expectUnchanged(R"("0.1e-9999999999\)");
}

TEST(LimitExponents, FindsThemWhereverTheyStand) {
    for (std::size_t i = 0; i < 40; ++i) {
        const std::string before = "[" + std::string(i, ' ') + "1,";
        for (const std::string after : {"", "]", ",1", "e", "-", "."}) {
            EXPECT_EQ(limited(before + "0.5e-9999999999" + after),
                      before + "0.5e-0000000000" + after);
            EXPECT_EQ(limited("[0.5" + before + "0.5e-9999999999" + after),
                      "[0.5" + before + "0.5e-0000000000" + after);
            EXPECT_EQ(limited(before + "12345,0.5e-9999999999" + after),
                      before + "12345,0.5e-0000000000" + after);
        }
    }
}

TEST(LimitExponents, LeavesWhatIsNoNumber) {
    for (const char* const text :
         {"e-9999999999", "1.e-9999999999", ".e-9999999999", "0.5e-", "0.5e", "0.5e--9999999999",
          "0.5-9999999999", "0.5x-9999999999", "9999999999"}) {
        SCOPED_TRACE(text);
        expectUnchanged(text);
    }
}

} // namespace
} // namespace klb
