#include "core/message_reporter.h"
#include "klb/manager.h"
#include "registry/settings.h"
#include "registry/toggle_files.h"
#include "registry/toggles.h"

#include "support/failing_allocation.h"
#include "support/fake_platform.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace klb {
namespace {

// Long texts, so that no string fits into its object.
constexpr const char* kFile = "C:\\ProgramData\\Vendor\\Product\\toggles.json";
constexpr const char* kToken = "a token of more than thirty characters";
constexpr const char* kOtherToken = "another token of more than thirty characters";
constexpr const char* kKey = "/a-group-with-a-long-name/a-feature-with-a-long-name";
constexpr const char* kOverridden = "/a-group-with-a-long-name/an-overridden-feature";

std::string wideGroup() {
    std::string members;
    for (int i = 0; i < 40; ++i) {
        members += "\"filler-" + std::to_string(i) + "\":false,";
    }
    return members;
}

/// Calls the operation with its first, second, ... allocation failing until one run meets no
/// failure; the operation must survive all of them.
template <class Operation>
int failEachAllocation(Operation operation) {
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        const test::FailingAllocation failure(n);
        try {
            operation();
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(failure.happened());
        }
        if (!failure.happened()) {
            return static_cast<int>(n) - 1;
        }
    }
}

class MemoryFailure : public testing::Test {
protected:
    void SetUp() override {
        platform.executablePath = "C:\\Program Files\\A Product\\with a long name\\host.exe";
        platform.deviceIdentity = "0123456789abcdef0123456789abcdef";
        platform.files[kFile].bytes =
            R"({"header":{"systemId":"0123456789abcdef0123456789abcdef"},"features":{)"
            R"("a-group-with-a-long-name":{)" +
            wideGroup() + R"("a-feature-with-a-long-name":true}}})";
        platform.files["C:\\Program Files\\A Product\\with a long name\\CIT_OVERRIDE.KLB"].bytes =
            R"({"a-group-with-a-long-name":{"an-overridden-feature":true}})";
    }

    test::FakePlatform platform;
};

TEST_F(MemoryFailure, AManagerIsMadeWholeOrNotAtAll) {
    std::unique_ptr<KLBMgr> manager;
    const int allocations =
        failEachAllocation([&] { manager = createManager("", true, platform.services()); });
    EXPECT_GT(allocations, 1);
    EXPECT_EQ(manager->registry().systemId, *platform.deviceIdentity);
}

TEST_F(MemoryFailure, AFileIsRegisteredWholeOrNotAtAll) {
    const auto manager = createManager("", false, platform.services());
    const Registry& registry = manager->registry();
    const int allocations = failEachAllocation([&] {
        ASSERT_TRUE(registry.filePaths.empty());
        ASSERT_TRUE(registry.filesInOrder.empty() || registry.filesInOrder.front()->file.empty());
        registerToggleFile(manager->registry(), KLB_ToggleFileType_Supported, kToken, kFile);
    });
    EXPECT_GT(allocations, 8);
    EXPECT_EQ(registry.filesInOrder.size(), 1U);
    EXPECT_EQ(registry.filePaths.size(), 1U);
    EXPECT_NE(registry.filesInOrder.front()->document, nullptr);
    EXPECT_EQ(registry.filesInOrder.front()->file, kFile);
}

std::string lastMessage;

int keepMessage(KLB_MessageType, const char* text) {
    lastMessage = text;
    return 0;
}

TEST_F(MemoryFailure, ALoadErrorIsReportedByTheCallThatHasTheMemory) {
    platform.files[kFile].bytes = "{\"no document at all, and of some length\"";
    lastMessage.reserve(1000);
    setMessageCallback(&keepMessage);
    const auto manager = createManager("", false, platform.services());
    const int allocations = failEachAllocation([&] {
        ASSERT_EQ(lastMessage, "");
        registerToggleFile(manager->registry(), KLB_ToggleFileType_Supported, kToken, kFile);
    });
    setMessageCallback(nullptr);
    EXPECT_GT(allocations, 8);
    EXPECT_EQ(lastMessage, "registerToggleFile: ParseErrorObjectMissColon in file: " +
                               std::string(kFile) + " at offset: 41");
}

TEST_F(MemoryFailure, ALoadErrorIsThrownByTheCallThatHasTheMemory) {
    platform.files[kFile].bytes = "{\"no document at all, and of some length\"";
    const auto manager = createManager("", false, platform.services());
    std::string thrown;
    thrown.reserve(1000);
    const int allocations = failEachAllocation([&] {
        if (!thrown.empty()) {
            return;
        }
        try {
            registerToggleFile(manager->registry(), KLB_ToggleFileType_Supported, kToken, kFile);
        } catch (const std::domain_error& error) {
            thrown = error.what();
        }
    });
    EXPECT_GT(allocations, 8);
    EXPECT_EQ(thrown, "registerToggleFile: ParseErrorObjectMissColon in file: " +
                          std::string(kFile) + " at offset: 41");
}

TEST_F(MemoryFailure, AnErrorOfTheOverrideFileIsThrownByTheCallThatHasTheMemory) {
    const std::string path = "C:\\Program Files\\A Product\\with a long name\\CIT_OVERRIDE.KLB";
    platform.files[path].bytes = "{\"no document at all, and of some length\"";
    const auto manager = createManager("", true, platform.services());
    std::string thrown;
    thrown.reserve(1000);
    const int allocations = failEachAllocation([&] {
        if (!thrown.empty()) {
            return;
        }
        try {
            registerToggle(manager->registry(), kOverridden, true, kToken, false);
        } catch (const std::domain_error& error) {
            thrown = error.what();
        }
    });
    EXPECT_GT(allocations, 8);
    EXPECT_EQ(thrown,
              "registerToggleFile: ParseErrorObjectMissColon in file: " + path + " at offset: 41");
}

TEST_F(MemoryFailure, AToggleIsRegisteredWholeOrNotAtAll) {
    const auto manager = createManager("", true, platform.services());
    registerToggleFile(manager->registry(), KLB_ToggleFileType_Supported, kToken, kFile);
    const Registry& registry = manager->registry();
    int registered = 0;
    for (const char* key : {kKey, kOverridden}) {
        SCOPED_TRACE(key);
        const int allocations = failEachAllocation([&] {
            ASSERT_EQ(registry.toggles.size(), registry.toggleIndex.size());
            registerToggle(manager->registry(), key, false, kToken, false);
        });
        // Several toggles share a block and the room in tables: a later one may need little.
        EXPECT_GE(allocations, 1);
        ++registered;
        EXPECT_TRUE(getToggle(manager->registry(), key, false));
        EXPECT_EQ(registry.toggles.size(), static_cast<std::size_t>(registered));
    }
    EXPECT_EQ(registry.filesByToken.at(kToken)->differingToggles.size(), 1U);
    EXPECT_EQ(registry.overrideFile->differingToggles.size(), 1U);
}

TEST_F(MemoryFailure, AFailedRegistrationLeavesNothingButTheToken) {
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        const auto manager = createManager("", false, platform.services());
        const Registry& registry = manager->registry();
        registerToggleFile(manager->registry(), KLB_ToggleFileType_Supported, kToken, kFile);
        const ToggleFileRecord& file = *registry.filesInOrder.front();
        bool thrown = false;
        {
            const test::FailingAllocation failure(n);
            try {
                registerToggle(manager->registry(), kKey, false, kToken, true);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
        }
        const std::size_t entries = thrown ? 0 : 1;
        EXPECT_EQ(registry.toggles.size(), entries);
        EXPECT_EQ(registry.toggleIndex.size(), entries);
        EXPECT_EQ(file.differingToggles.size(), entries);
        if (!thrown) {
            EXPECT_GT(n, 5U);
            break;
        }
    }
}

TEST_F(MemoryFailure, AFailedRegistrationKeepsNoKey) {
    bool failed = true;
    for (std::size_t n = 1; failed; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        auto manager = createManager("", false, platform.services());
        failed = false;
        {
            const test::FailingAllocation failure(n);
            try {
                registerToggle(manager->registry(), kKey, true, kToken, true);
            } catch (const std::bad_alloc&) {
                failed = true;
            }
        }
        const test::FreedMemoryWatch watch(kKey);
        manager.reset();
        EXPECT_EQ(watch.sightings(), failed ? 0 : 1);
    }
}

TEST_F(MemoryFailure, AnUnknownTokenIsMadeWholeOrNotAtAll) {
    const auto manager = createManager("", false, platform.services());
    const Registry& registry = manager->registry();
    const int allocations = failEachAllocation([&] {
        ASSERT_EQ(registry.filesInOrder.size(), registry.filesByToken.size());
        registerToggle(manager->registry(), kKey, true, kOtherToken, true);
    });
    EXPECT_GT(allocations, 4);
    EXPECT_EQ(registry.filesInOrder.size(), 1U);
    EXPECT_EQ(registry.toggles.size(), 1U);
}

TEST_F(MemoryFailure, QueriesNeedNoMemory) {
    const auto manager = createManager("", false, platform.services());
    registerToggle(manager->registry(), kKey, true, kToken, false);
    registerToggle(manager->registry(), kOverridden, true, kToken, true);
    const test::FailingAllocation failure(1);
    EXPECT_TRUE(getToggle(manager->registry(), kKey, false));
    EXPECT_TRUE(getToggle(manager->registry(), kOverridden, true));
    EXPECT_FALSE(getToggle(manager->registry(), "/a-key-of-more-than-thirty-characters", false));
    EXPECT_TRUE(lookupToggle(manager->registry(), kKey, false));
    setDynamicToggle(manager->registry(), kOverridden, false);
    EXPECT_FALSE(getToggle(manager->registry(), kOverridden, true));
    EXPECT_FALSE(failure.happened());
}

TEST_F(MemoryFailure, SettingTheOverridePathIsAllOrNothing) {
    const auto manager = createManager("System", true, platform.services());
    failEachAllocation([&] {
        ASSERT_TRUE(manager->registry().overridePath.empty());
        setOverridePath(manager->registry(), "D:\\a directory with a long name\\for overrides");
    });
    EXPECT_EQ(manager->registry().overridePath,
              "D:\\a directory with a long name\\for overrides\\CIT_OVERRIDE.KLB");
}

} // namespace
} // namespace klb
