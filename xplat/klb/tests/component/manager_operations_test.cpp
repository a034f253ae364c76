#include "error_mode.h"
#include "publication.h"
#include "report_helpers.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace klb::test {
namespace {

constexpr uint32_t kSupported = 2;

/// What a value is before an operation sets it.
constexpr uint32_t kUnset = 0xDEADBEEF;

/// The operations for one kind of toggles.
struct Kind {
    const char* name;
    OBXResult (IKLBManager::*registerToggle)(const char*, int32_t, const char*);
    OBXResult (IKLBManager::*get)(const char*, uint32_t*);
    OBXResult (IKLBManager::*isRegistered)(const char*);
    const ToggleKind* exports;
};

const std::vector<Kind> kKinds = {
    {"static", &IKLBManager::RegisterToggle, &IKLBManager::GetToggle,
     &IKLBManager::IsToggleRegistered, &kStaticKind},
    {"dynamic", &IKLBManager::RegisterDynamicToggle, &IKLBManager::GetDynamicToggle,
     &IKLBManager::IsDynamicToggleRegistered, &kDynamicKind},
};

/// The value, after a success.
uint32_t valueOf(IKLBManager& manager, const Kind& kind, const std::string& key) {
    uint32_t value = kUnset;
    EXPECT_EQ((manager.*kind.get)(key.c_str(), &value), 0);
    return value;
}

TEST(ManagerToggles, ARegisteredToggleHasItsDefault) {
    inBothErrorModes([](ErrorObserver& observer) {
        const Publication published;
        IKLBManager& manager = *published.manager;
        observer.expectSilence([&] {
            for (std::size_t index = 0; index < kKinds.size(); ++index) {
                const Kind& kind = kKinds[index];
                const Kind& other = kKinds[1 - index];
                SCOPED_TRACE(kind.name);
                const std::string on = std::string("/on/") + kind.name;
                const std::string off = std::string("/off/") + kind.name;
                EXPECT_EQ((manager.*kind.isRegistered)(on.c_str()), 0);
                EXPECT_EQ((manager.*kind.registerToggle)(on.c_str(), 1, "token"), 0);
                EXPECT_EQ((manager.*kind.registerToggle)(off.c_str(), 0, "token"), 0);
                EXPECT_EQ((manager.*kind.isRegistered)(on.c_str()), 1);
                EXPECT_EQ((manager.*other.isRegistered)(on.c_str()), 0);
                EXPECT_EQ(valueOf(manager, kind, on), 1U);
                EXPECT_EQ(valueOf(manager, kind, off), 0U);
            }
        });
    });
}

TEST(ManagerToggles, EveryDefaultButZeroIsTrue) {
    const Publication published;
    IKLBManager& manager = *published.manager;
    for (const Kind& kind : kKinds) {
        for (const int32_t value : {0, 1, 2, -1, 256, 65536, std::numeric_limits<int32_t>::min(),
                                    std::numeric_limits<int32_t>::max()}) {
            const std::string key = std::string("/") + kind.name + "/" + std::to_string(value);
            SCOPED_TRACE(key);
            EXPECT_EQ((manager.*kind.registerToggle)(key.c_str(), value, "token"), 0);
            EXPECT_EQ(valueOf(manager, kind, key), value == 0 ? 0U : 1U);
            EXPECT_EQ(kind.exports->get(key.c_str()), value != 0);
        }
    }
}

TEST(ManagerToggles, EveryNewValueButZeroIsTrue) {
    const Publication published;
    IKLBManager& manager = *published.manager;
    ASSERT_EQ(manager.RegisterDynamicToggle("/d", 0, "token"), 0);
    for (const int32_t value : {1, 0, 2, 0, -1, 0, 256, 0, std::numeric_limits<int32_t>::min()}) {
        SCOPED_TRACE(value);
        EXPECT_EQ(manager.SetDynamicToggle("/d", value), 0);
        uint32_t now = kUnset;
        EXPECT_EQ(manager.GetDynamicToggle("/d", &now), 0);
        EXPECT_EQ(now, value == 0 ? 0U : 1U);
        EXPECT_EQ(KLB_GetDynamicToggle("/d"), value != 0);
    }
}

TEST(ManagerToggles, AnUnknownKeyIsFalseAndSuccess) {
    inBothErrorModes([](ErrorObserver& observer) {
        Publication published;
        for (const Kind& kind : kKinds) {
            observer.expectMessages(
                {warning("getToggle: key, /unknown, was not registered. Returning false.")},
                [&] { EXPECT_EQ(valueOf(*published.manager, kind, "/unknown"), 0U); });
        }
        EXPECT_EQ(published.framework.takeReports().size(), 0U);
    });
}

TEST(ManagerToggles, KeysThatCanNeverBeReadAreRegistered) {
    const Publication published;
    IKLBManager& manager = *published.manager;
    for (const Kind& kind : kKinds) {
        const std::string key = kind.name;
        EXPECT_EQ((manager.*kind.registerToggle)(key.c_str(), 1, "token"), 0);
        EXPECT_EQ((manager.*kind.isRegistered)(key.c_str()), 1);
        EXPECT_EQ((manager.*kind.isRegistered)(""), 0);
    }
}

TEST(ManagerToggleFiles, SetTheirToggles) {
    const TempDirectory directory;
    const std::string file = directory.write("t.json", featuresFile(R"("on":true,"off":false)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const Publication published;
        IKLBManager& manager = *published.manager;
        observer.expectSilence([&] {
            EXPECT_EQ(manager.IsToggleFileRegistered("token"), 0);
            EXPECT_EQ(manager.RegisterToggleFile(kSupported, "token", file.c_str()), 0);
            EXPECT_EQ(manager.IsToggleFileRegistered("token"), 1);
            EXPECT_EQ(manager.IsToggleFileRegistered("Token"), 0);
            EXPECT_EQ(manager.IsToggleFileRegistered(""), 0);
            EXPECT_EQ(manager.RegisterToggle("/on", 0, "token"), 0);
            EXPECT_EQ(manager.RegisterDynamicToggle("/off", 1, "token"), 0);
            EXPECT_EQ(valueOf(manager, kKinds[0], "/on"), 1U);
            EXPECT_EQ(valueOf(manager, kKinds[1], "/off"), 0U);
            EXPECT_EQ(manager.RegisterToggle("/a", 0, "without a file"), 0);
            EXPECT_EQ(manager.IsToggleFileRegistered("without a file"), 1);
        });
    });
}

TEST(ManagerToggleFiles, TypesKeepAll32Bits) {
    const TempDirectory directory;
    const std::string file = directory.write("t.json", featuresFile(R"("on":true)"));
    // Of these, only 2 and 0x7FFFFFFF are plain files; a plain one does not pass for protected.
    for (const auto& [type, isPlain] :
         std::vector<std::pair<uint32_t, bool>>{{2, true},
                                                {0x7FFFFFFF, true},
                                                {1, false},
                                                {3, false},
                                                {0x102, false},
                                                {0x10002, false},
                                                {0x80000000, false},
                                                {0x80000002, false},
                                                {0xFFFFFFFE, false},
                                                {0xFFFFFFFF, false}}) {
        SCOPED_TRACE(type);
        MessageRecorder recorder;
        const Publication published;
        IKLBManager& manager = *published.manager;
        EXPECT_EQ(manager.RegisterToggleFile(type, "token", file.c_str()), 0);
        EXPECT_EQ(recorder.take().size(), isPlain ? 0U : 1U);
        EXPECT_EQ(manager.IsToggleFileRegistered("token"), 1);
        EXPECT_EQ(manager.RegisterToggle("/on", 0, "token"), 0);
        EXPECT_EQ(valueOf(manager, kKinds[0], "/on"), isPlain ? 1U : 0U);
        EXPECT_EQ(defaultToggleJson().find("KLB_UnsupportedFeatures") != std::string::npos,
                  type == 1);
    }
}

TEST(ManagerAndExports, WorkOnTheSameRegistry) {
    const TempDirectory directory;
    const std::string file = directory.write("t.json", featuresFile(R"("on":true,"d":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const Publication published;
        IKLBManager& manager = *published.manager;
        observer.expectSilence([&] {
            registerPlainFile("exported", file);
            EXPECT_EQ(manager.IsToggleFileRegistered("exported"), 1);
            EXPECT_EQ(manager.RegisterToggle("/on", 0, "exported"), 0);
            EXPECT_TRUE(KLB_IsToggleRegistered("/on"));
            EXPECT_TRUE(KLB_GetToggle("/on"));

            KLB_RegisterDynamicToggle("/d", false, "exported");
            EXPECT_EQ(manager.IsDynamicToggleRegistered("/d"), 1);
            EXPECT_EQ(valueOf(manager, kKinds[1], "/d"), 1U);
            EXPECT_EQ(manager.SetDynamicToggle("/d", 0), 0);
            EXPECT_FALSE(KLB_GetDynamicToggle("/d"));
            KLB_SetDynamicToggle("/d", true);
            EXPECT_EQ(valueOf(manager, kKinds[1], "/d"), 1U);

            // The first registration stays, whichever way it came.
            KLB_RegisterToggle("/on", false, "exported");
            EXPECT_EQ(manager.RegisterDynamicToggle("/on", 0, "exported"), 0);
            EXPECT_EQ(manager.IsToggleRegistered("/on"), 1);

            EXPECT_EQ(manager.RegisterToggleFile(kSupported, "by face", "klb-no-such\\f.json"), 0);
            EXPECT_TRUE(KLB_IsToggleFileRegistered("by face"));
            KLB_AddToggleComment("/on", "by export");
        });
        EXPECT_NE(defaultToggleJson().find("by export"), std::string::npos);
    });
}

/// The manager with one toggle that its file changed, and the override information that names it.
struct Reporting {
    Reporting() {
        const std::string file = directory.write("t.json", featuresFile(R"("on":true)"));
        EXPECT_EQ(published.manager->RegisterToggleFile(kSupported, "token", file.c_str()), 0);
        EXPECT_EQ(published.manager->RegisterToggle("/on", 0, "token"), 0);
        text = "token : " + file + "\n/on : true\n";
    }
    TempDirectory directory;
    Publication published;
    std::string text;
};

TEST(ManagerOverrideInfoString, FollowsTheBufferConvention) {
    const Reporting reporting;
    IKLBManager& manager = *reporting.published.manager;
    const auto needed = static_cast<uint32_t>(reporting.text.size() + 1);
    for (const uint32_t size : {0U, 1U, needed, std::numeric_limits<uint32_t>::max()}) {
        EXPECT_EQ(manager.GetOverrideInfoString(nullptr, size), needed);
    }
    for (const uint32_t size : {0U, 1U, 2U, 5U, needed - 1, needed, needed + 1, 2 * needed,
                                0x80000000U, std::numeric_limits<uint32_t>::max()}) {
        SCOPED_TRACE(size);
        std::string buffer(2 * needed, '#');
        const uint32_t written = std::min(size, needed);
        std::string expected = buffer;
        if (written > 0) {
            expected.replace(0, written - 1, reporting.text, 0, written - 1);
            expected[written - 1] = '\0';
        }
        EXPECT_EQ(manager.GetOverrideInfoString(buffer.data(), size), written);
        EXPECT_EQ(buffer, expected);
    }
    EXPECT_EQ(overrideInfo(), reporting.text);
}

TEST(ManagerOverrideInfoString, IsEmptyWhenNothingDiffers) {
    const Publication published;
    std::string buffer(8, '#');
    EXPECT_EQ(published.manager->GetOverrideInfoString(nullptr, 0), 0U);
    EXPECT_EQ(published.manager->GetOverrideInfoString(buffer.data(), 8), 0U);
    EXPECT_EQ(buffer, "########");
}

} // namespace
} // namespace klb::test
