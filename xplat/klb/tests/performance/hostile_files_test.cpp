#include "instruction_counter.h"
#include "library_session.h"
#include "message_recorder.h"
#include "support/hostile_files.h"
#include "support/sealed_envelope.h"
#include "temp_directory.h"

#include "klb.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace klb::test {

namespace {

constexpr const char* kSystemId = "System";

/// Half a second on machines of today.
constexpr std::uint64_t kMostInstructions = 2'000'000'000;

/// The instructions that refusing the protected file takes.
std::uint64_t instructionsOfLoading(const HostileFiles& files) {
    const TempDirectory directory;
    directory.write("mosk.cert.pem", files.certificates);
    const std::string path = directory.write("toggles.klb", sealed(files.message, kSystemId));
    MessageRecorder messages;
    const LibrarySession session(kSystemId);
    const std::uint64_t instructions = instructionsOf(
        [&] { KLB_RegisterToggleFile(KLB_ToggleFileType_Unsupported, "token", path.c_str()); });
    EXPECT_EQ(messages.take().size(), 1U);
    return instructions;
}

class HostileFilesCost : public testing::TestWithParam<HostileShape> {
protected:
    static void expectLinear(const Counts& most, std::size_t size) {
        constexpr std::size_t kTimes = 2;
        constexpr double kLimit = 1.5;
        const HostileShape& shape = GetParam();
        // The first time is the one at which libraries set themselves up.
        instructionsOfLoading(shape.make(1024, most));
        const std::uint64_t small = instructionsOfLoading(shape.make(size, most));
        const std::uint64_t large = instructionsOfLoading(shape.make(kTimes * size, most));
        EXPECT_LE(static_cast<double>(large), kLimit * kTimes * static_cast<double>(small));
        EXPECT_LE(large, kMostInstructions);
    }
};

TEST_P(HostileFilesCost, BeyondTheLimitsCostNoMoreThanTheirSize) {
    expectLinear({}, 140 * 1024);
}

TEST_P(HostileFilesCost, WithinTheLimitsCostNoMoreThanTheirSize) {
    expectLinear(kAcceptedCounts, 16 * 1024);
}

INSTANTIATE_TEST_SUITE_P(All, HostileFilesCost, testing::ValuesIn(hostileShapes()),
                         [](const auto& instance) {
                             std::string name = instance.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             std::erase(name, '\'');
                             return name;
                         });

} // namespace

} // namespace klb::test
