#include "documents/vectoristream.h"

#include "documents/document_input.h"

#include <gtest/gtest.h>

#include <istream>
#include <iterator>
#include <string>

namespace klb {
namespace {

TEST(Vectoristream, ReadsTheBytesWhereTheyAre) {
    std::vector<char> bytes{'{', '\xFF', '\0', '}'};
    vectoristream buffer(bytes);
    EXPECT_EQ(buffer.current(), bytes.data());
    EXPECT_EQ(buffer.end(), bytes.data() + bytes.size());
    std::istream stream(&buffer);
    const std::string read{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_EQ(read, std::string("{\xFF\0}", 4));
}

TEST(Vectoristream, NoBytesAreTheEnd) {
    std::vector<char> none;
    vectoristream buffer(none);
    EXPECT_EQ(buffer.sgetc(), std::char_traits<char>::eof());
}

TEST(DocumentInput, CountsWhatWasTakenAndEndsInNul) {
    std::vector<char> bytes{'a', '\xFF'};
    const vectoristream buffer(bytes);
    DocumentInput input(buffer);
    EXPECT_EQ(input.Tell(), 0U);
    EXPECT_EQ(input.Peek(), 'a');
    EXPECT_EQ(input.Take(), 'a');
    EXPECT_EQ(input.Peek(), '\xFF');
    EXPECT_EQ(input.Take(), '\xFF');
    EXPECT_EQ(input.Tell(), 2U);
    EXPECT_EQ(input.Peek(), '\0');
    EXPECT_EQ(input.Take(), '\0');
    EXPECT_EQ(input.Tell(), 2U);
}

} // namespace
} // namespace klb
