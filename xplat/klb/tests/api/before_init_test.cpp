#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "message_callback_cases.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace klb::test {
namespace {

void expectRefusals(ErrorObserver& observer) {
    for (const ErrorCase& each : errorsBeforeInit()) {
        SCOPED_TRACE(each.name);
        observer.expectError<std::domain_error>(each.text, each.call);
        EXPECT_FALSE(KLB_IsInitialized());
    }
}

void expectSilentAnswers(ErrorObserver& observer) {
    observer.expectSilence([] {
        EXPECT_FALSE(KLB_IsInitialized());
        EXPECT_FALSE(KLB_IsOBXInitialized());
        EXPECT_FALSE(KLB_IsToggleFileRegistered("token"));
        EXPECT_FALSE(KLB_IsToggleFileRegistered(nullptr));
        EXPECT_FALSE(KLB_IsToggleRegistered("/a"));
        EXPECT_FALSE(KLB_IsToggleRegistered(nullptr));
        EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/d"));
        EXPECT_FALSE(KLB_IsDynamicToggleRegistered(nullptr));
    });
}

void expectNoReports(ErrorObserver& observer) {
    observer.expectSilence([] {
        EXPECT_EQ(KLB_GetOverrideInfoString(nullptr, 0), 0U);
        EXPECT_EQ(KLB_GetDefaultToggleJson("module", "1.0", nullptr, 0), 0U);
        EXPECT_EQ(KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0), 0U);

        std::string buffer(16, '#');
        EXPECT_EQ(KLB_GetOverrideInfoString(buffer.data(), buffer.size()), 0U);
        EXPECT_EQ(KLB_GetDefaultToggleJson("module", "1.0", buffer.data(), buffer.size()), 0U);
        EXPECT_EQ(buffer, std::string(16, '#'));
    });
}

void registerEverythingAndTerminate() {
    const LibrarySession session;
    KLB_SetOverridePath("D:\\earlier");
    KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, "token", "klb-no-such\\file.json");
    KLB_RegisterToggle("/a", true, "token");
    KLB_RegisterDynamicToggle("/d", true, "token");
}

TEST(BeforeInit, CallsThatNeedTheManagerAreRefused) {
    inBothErrorModes([](ErrorObserver& observer) { expectRefusals(observer); });
}

TEST(BeforeInit, LookupsAnswerFalseSilently) {
    inBothErrorModes([](ErrorObserver& observer) { expectSilentAnswers(observer); });
}

TEST(BeforeInit, ReportsAnswerZeroAndLeaveTheBuffer) {
    inBothErrorModes([](ErrorObserver& observer) { expectNoReports(observer); });
}

TEST(BeforeInit, TermDoesNothing) {
    inBothErrorModes([](ErrorObserver& observer) {
        observer.expectSilence([] { KLB_Term(); });
        EXPECT_FALSE(KLB_IsInitialized());
    });
}

TEST(BeforeInit, RefusedCallsLeaveNothingBehind) {
    inBothErrorModes([](ErrorObserver& observer) {
        expectRefusals(observer);

        const LibrarySession session;
        EXPECT_FALSE(KLB_IsToggleFileRegistered("token"));
        EXPECT_FALSE(KLB_IsToggleRegistered("/a"));
        EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/d"));
        EXPECT_FALSE(KLB_IsOBXInitialized());
        // Accepted only while no path is set and nothing is registered.
        observer.expectSilence([] { KLB_SetOverridePath("D:\\cfg"); });
    });
}

TEST(BeforeInit, TheSameHoldsAgainAfterTerm) {
    inBothErrorModes([](ErrorObserver& observer) {
        registerEverythingAndTerminate();
        expectRefusals(observer);
        expectSilentAnswers(observer);
        expectNoReports(observer);
        observer.expectSilence([] { KLB_Term(); });
    });
}

} // namespace
} // namespace klb::test
