#include "dice.h"
#include "exports.h"
#include "library_model.h"
#include "message_recorder.h"
#include "random_calls.h"
#include "random_computer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

namespace klb::test {

namespace {

constexpr std::uint64_t kRegistriesPerTest = 2500;

/// What came of a call, exceptions included.
std::string outcome(const Call& call, Exports& exports) {
    try {
        return call.perform(exports);
    } catch (const std::exception& caught) {
        return std::string("threw ") + caught.what();
    }
}

/// Makes the calls on the library and on the model, up to the first that they answer differently.
void compare(const std::vector<Call>& calls, const Surroundings& surroundings) {
    LibraryExports library;
    MessageRecorder recorder;
    LibraryModel model(surroundings);
    model.initMessageProc(&MessageRecorder::record);
    for (const Call& call : calls) {
        const std::string expected = outcome(call, model);
        const std::vector<Message> expectedMessages = recorder.take();
        EXPECT_EQ(outcome(call, library), expected) << call.description;
        EXPECT_EQ(recorder.take(), expectedMessages) << call.description;
        if (testing::Test::HasFailure()) {
            break;
        }
    }
    library.term();
}

std::string listOf(const std::vector<Call>& calls) {
    std::string list;
    for (const Call& call : calls) {
        list += call.description + ";\n";
    }
    return list;
}

/// Each test has a computer of its own. Its seed makes the computer's files; with the seeds that
/// follow it come the registries.
class RandomReports : public testing::TestWithParam<std::uint64_t> {};

TEST_P(RandomReports, AreThoseOfTheModel) {
    Dice computerDice(GetParam());
    const RandomComputer computer(computerDice);
    for (std::uint64_t i = 1; i <= kRegistriesPerTest; ++i) {
        Dice dice(GetParam() + i);
        const std::vector<Call> calls = randomCalls(dice, computer);
        compare(calls, computer.surroundings());
        ASSERT_FALSE(HasFailure())
            << "registry with the seed " << GetParam() << " + " << i << ", made by:\n"
            << listOf(calls);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomReports,
                         testing::Values(1'000'000, 2'000'000, 3'000'000, 4'000'000),
                         testing::PrintToStringParamName());

} // namespace

} // namespace klb::test
