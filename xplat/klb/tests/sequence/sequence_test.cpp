#include "decode.h"
#include "random_bytes.h"
#include "sequence.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace klb::test {

namespace {

/// How many sequences each test makes; the environment variable KLB_SEQUENCE_SEEDS says otherwise.
constexpr std::uint64_t kSequencesPerTest = 20;

std::uint64_t sequencesPerTest() {
    const char* const number = std::getenv("KLB_SEQUENCE_SEEDS");
    return number != nullptr ? std::stoull(number) : kSequencesPerTest;
}

/// The parameter is the seed of the first sequence; the others take the seeds that follow.
class RandomSequences : public testing::TestWithParam<std::uint64_t> {};

TEST_P(RandomSequences, HaveTheOutcomesOfTheModel) {
    for (std::uint64_t i = 0; i < sequencesPerTest(); ++i) {
        const std::uint64_t seed = GetParam() + i;
        const std::vector<Call> calls = decodeCalls(randomBytes(seed));
        ASSERT_EQ(calls.size(), kLongestSequence);
        const std::optional<Difference> difference = runSequence(calls);
        ASSERT_FALSE(HasFailure()) << "in the sequence with the seed " << seed;
        if (difference) {
            const std::vector<Call> fewer = shortened(calls);
            const std::optional<Difference> rest = runSequence(fewer);
            FAIL() << "the sequence with the seed " << seed << ", shortened:\n"
                   << described(fewer, rest ? *rest : *difference);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSequences,
                         testing::Values(1'000'000, 2'000'000, 3'000'000, 4'000'000),
                         testing::PrintToStringParamName());

} // namespace

} // namespace klb::test
