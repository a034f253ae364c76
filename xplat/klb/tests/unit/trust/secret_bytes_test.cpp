#include "trust/secret_bytes.h"

#include "support/failing_allocation.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace klb {
namespace {

constexpr std::string_view kSecret = "decrypted text of some length";

TEST(SecretBytes, LeaveNothingInFreedMemory) {
    const test::FreedMemoryWatch watch(kSecret);
    {
        SecretBytes bytes(kSecret.begin(), kSecret.end());
        bytes.resize(2 * bytes.capacity());
        SecretBytes moved = std::move(bytes);
        moved.assign(10, 'x');
        moved.shrink_to_fit();
    }
    EXPECT_EQ(watch.sightings(), 0);
    { const std::vector<char> bytes(kSecret.begin(), kSecret.end()); }
    EXPECT_EQ(watch.sightings(), 1);
}

} // namespace
} // namespace klb
