#include "trust/secret_bytes.h"

#include "support/failing_allocation.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>
#include <vector>

namespace klb {
namespace {

constexpr std::string_view kSecret = "decrypted text of some length";

TEST(SecretBytes, LeaveNothingInFreedMemory) {
    const test::FreedMemoryWatch watch(kSecret);
    {
        SecretBytes bytes(kSecret.begin(), kSecret.end());
        bytes.reserve(2 * bytes.capacity());
        const SecretBytes moved = std::move(bytes);
        EXPECT_EQ(std::string_view(moved.data(), moved.size()), kSecret);
    }
    EXPECT_EQ(watch.sightings(), 0);
    { const std::vector<char> bytes(kSecret.begin(), kSecret.end()); }
    EXPECT_EQ(watch.sightings(), 1);
}

} // namespace
} // namespace klb
