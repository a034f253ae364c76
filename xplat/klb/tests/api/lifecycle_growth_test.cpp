#include "klb.h"
#include "message_recorder.h"
#include "process_resources.h"
#include "protected_samples.h"
#include "quiet_framework.h"
#include "temp_directory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace klb::test {
namespace {

constexpr int kWarmUpRounds = 200;
constexpr int kRounds = 10'000;
// Verifying a signature takes most of a round's time.
constexpr int kRoundsForEachProtectedFile = 10;
// Less than a byte for each round with a protected file.
constexpr std::int64_t kMaxHeapGrowth = kRounds / kRoundsForEachProtectedFile - 1;
// Less than a page for each ten rounds.
constexpr std::int64_t kMaxMappedGrowth = kRounds / 10 * 4096 - 1;

/// Everything that a host does with the library, from KLB_Init() to KLB_Term().
class SmallHost {
public:
    void run(bool withProtectedFile) {
        KLB_Init("System", true);
        KLB_SetOverridePath(directory_.path().c_str());
        KLB_SetCertificateData(kSignerCertificate);
        KLB_InitOBX(framework_.host());
        KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, "plain", plainPath_.c_str());
        KLB_RegisterToggle("/on", false, "plain");
        KLB_RegisterToggle("/overridden", true, "plain");
        KLB_RegisterDynamicToggle("/group/dynamic", false, "plain");
        KLB_SetDynamicToggle("/group/dynamic", true);
        KLB_AddToggleComment("/on", "a comment that takes memory of its own");
        ASSERT_TRUE(KLB_GetToggle("/on"));
        ASSERT_FALSE(KLB_GetToggle("/overridden"));
        if (withProtectedFile) {
            KLB_RegisterToggleFile(KLB_ToggleFileType_Unsupported, "protected",
                                   protectedPath_.c_str());
            KLB_RegisterToggle("/a", false, "protected");
            ASSERT_TRUE(KLB_GetToggle("/a"));
        }
        ASSERT_NE(KLB_GetOverrideInfoString(nullptr, 0), 0U);
        ASSERT_NE(KLB_GetDefaultToggleJson("module", "1.0", nullptr, 0), 0U);
        uint32_t value = 0;
        ASSERT_EQ(framework_.manager()->GetDynamicToggle("/group/dynamic", &value), 0);
        ASSERT_EQ(value, 1U);
        meetErrors();
        KLB_Term();
        ASSERT_EQ(framework_.references(), 0);
    }

private:
    void meetErrors() {
        EXPECT_THROW(KLB_SetCertificateData(kSignerCertificate), std::domain_error);
        ASSERT_LT(framework_.manager()->SetDynamicToggle("/on", 1), 0);
        MessageRecorder recorder;
        KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, "damaged", damagedPath_.c_str());
        ASSERT_EQ(recorder.take(),
                  std::vector<Message>{error("registerToggleFile: ParseErrorObjectMissColon in "
                                             "file: " +
                                             damagedPath_ + " at offset: 14")});
    }

    TempDirectory directory_;
    std::string plainPath_ = directory_.write("plain.json", R"({"features":{"on":true}})");
    std::string protectedPath_ = directory_.write("protected.klb", kProtectedFile);
    std::string damagedPath_ = directory_.write("damaged.json", R"({"no document")");
    std::string overridePath_ = directory_.write("CIT_OVERRIDE.KLB", R"({"overridden":false})");
    QuietFramework framework_{[](const char*) {}};
};

/// In a thread, with whose end the memory is given back that is kept for it.
template <class Body>
void repeat(int rounds, Body&& body) {
    std::thread([&] {
        for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
            body(round);
        }
    }).join();
}

template <class Body>
void expectNoGrowth(Body&& body) {
    repeat(kWarmUpRounds, body);
    // Measuring takes resources of its own, once.
    processResources();
    const ProcessResources before = processResources();
    repeat(kRounds, body);
    const ProcessResources after = processResources();
    EXPECT_LE(after.heapBytes - before.heapBytes, kMaxHeapGrowth);
    EXPECT_LE(after.mappedBytes - before.mappedBytes, kMaxMappedGrowth);
    EXPECT_EQ(after.handles, before.handles);
}

TEST(Lifecycle, TenThousandRoundsTakeNoMoreThanOne) {
    SmallHost host;
    expectNoGrowth([&](int round) { host.run(round % kRoundsForEachProtectedFile == 0); });
}

} // namespace
} // namespace klb::test
