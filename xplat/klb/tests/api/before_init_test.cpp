#include "error_mode.h"
#include "klb.h"
#include "library_session.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {
namespace {

struct Refused {
    const char* name;
    std::function<void()> call;
    const char* text;
};

const char* const kSetOverridePath = "KLB_SetOverridePath: KLB_Init must be called first.";
const char* const kSetCertificateData = "KLB_SetCertificateData: KLB_Init must be called first.";
const char* const kInitObx = "KLB_InitOBX: KLB_Init must be called first.";
const char* const kRegisterToggleFile = "KLB_RegisterToggleFile: KLB_Init must be called first.";
const char* const kAddToggleComment = "KLB_AddToggleComment: KLB_Init must be called first.";

const KLB_ToggleFileType kSupported = KLB_ToggleFileType_Supported;
const KLB_ToggleFileType kInvalid = KLB_ToggleFileType_Invalid;

// Every export that needs the manager, with good arguments and with arguments that it would refuse:
// the missing manager comes first. Five exports name another one than themselves, on purpose.
const std::vector<Refused>& refused() {
    static const std::vector<Refused> all = {
        {"SetOverridePath", [] { KLB_SetOverridePath("D:\\cfg"); }, kSetOverridePath},
        {"SetOverridePath, null", [] { KLB_SetOverridePath(nullptr); }, kSetOverridePath},
        {"SetOverridePath, empty", [] { KLB_SetOverridePath(""); }, kSetOverridePath},
        {"SetCertificateData", [] { KLB_SetCertificateData("not PEM"); }, kSetCertificateData},
        {"SetCertificateData, null", [] { KLB_SetCertificateData(nullptr); }, kSetCertificateData},
        {"InitOBX, null", [] { KLB_InitOBX(nullptr); }, kInitObx},
        {"RegisterToggleFile", [] { KLB_RegisterToggleFile(kSupported, "token", "f.json"); },
         kRegisterToggleFile},
        {"RegisterToggleFile, bad type", [] { KLB_RegisterToggleFile(kInvalid, "token", "f"); },
         kRegisterToggleFile},
        {"RegisterToggleFile, null", [] { KLB_RegisterToggleFile(kSupported, nullptr, nullptr); },
         kRegisterToggleFile},
        {"RegisterToggle", [] { KLB_RegisterToggle("/a", true, "token"); }, kRegisterToggleFile},
        {"RegisterToggle, null", [] { KLB_RegisterToggle(nullptr, true, nullptr); },
         kRegisterToggleFile},
        {"RegisterDynamicToggle", [] { KLB_RegisterDynamicToggle("/d", true, "token"); },
         kRegisterToggleFile},
        {"RegisterDynamicToggle, null", [] { KLB_RegisterDynamicToggle(nullptr, true, nullptr); },
         kRegisterToggleFile},
        {"GetToggle", [] { EXPECT_FALSE(KLB_GetToggle("/a")); }, kRegisterToggleFile},
        {"GetToggle, null", [] { EXPECT_FALSE(KLB_GetToggle(nullptr)); }, kRegisterToggleFile},
        {"GetToggle, malformed", [] { EXPECT_FALSE(KLB_GetToggle("a")); }, kRegisterToggleFile},
        {"GetDynamicToggle", [] { EXPECT_FALSE(KLB_GetDynamicToggle("/d")); }, kRegisterToggleFile},
        {"GetDynamicToggle, null", [] { EXPECT_FALSE(KLB_GetDynamicToggle(nullptr)); },
         kRegisterToggleFile},
        {"SetDynamicToggle", [] { KLB_SetDynamicToggle("/d", true); }, kRegisterToggleFile},
        {"SetDynamicToggle, null", [] { KLB_SetDynamicToggle(nullptr, true); },
         kRegisterToggleFile},
        {"AddToggleComment", [] { KLB_AddToggleComment("/a", "comment"); }, kAddToggleComment},
        {"AddToggleComment, null", [] { KLB_AddToggleComment(nullptr, nullptr); },
         kAddToggleComment},
    };
    return all;
}

void expectRefusals(ErrorObserver& observer) {
    for (const Refused& each : refused()) {
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
    KLB_RegisterToggleFile(kSupported, "token", "klb-no-such\\file.json");
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
