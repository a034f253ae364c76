#include "klb/manager.h"

#include "klb/library_state.h"
#include "support/failing_allocation.h"
#include "support/fake_platform.h"

#include <gtest/gtest.h>

namespace klb {
namespace {

TEST(CreateManager, StartsWithTheArgumentsAndNothingElse) {
    test::FakePlatform platform;
    platform.deviceIdentity = "device";
    std::string systemId = "System";
    const auto manager = createManager(systemId.c_str(), true, platform.services());
    systemId = "changed";
    const Registry& registry = manager->registry();
    EXPECT_EQ(registry.systemId, "System");
    EXPECT_EQ(registry.deviceId, "");
    EXPECT_EQ(registry.overridePath, "");
    EXPECT_TRUE(registry.enableOverride);
    EXPECT_FALSE(registry.anythingRegistered());
    EXPECT_TRUE(registry.filesInOrder.empty());
    EXPECT_TRUE(registry.filePaths.empty());
    EXPECT_EQ(registry.overrideFile, nullptr);
    EXPECT_EQ(registry.signers.certificate, nullptr);
    EXPECT_FALSE(registry.signers.skipSignatureCheck);
    EXPECT_FALSE(manager->isPublished());
    EXPECT_EQ(manager->GetSingletonState(), 0U);
}

TEST(CreateManager, AnEmptySystemIdentifierTakesTheDeviceIdentifier) {
    const std::string longest = "0123456789abcdef0123456789ABCDEF";
    struct Case {
        const char* name;
        std::optional<std::string> identity;
        std::string expected;
    };
    const Case cases[] = {
        {"short", "XYZ", "XYZ"},
        {"32 characters", longest, longest},
        {"33 characters", longest + "g", longest},
        {"none", std::nullopt, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::FakePlatform platform;
        platform.deviceIdentity = c.identity;
        const auto manager = createManager("", false, platform.services());
        EXPECT_EQ(manager->registry().systemId, c.expected);
        EXPECT_EQ(manager->registry().deviceId, c.expected);
    }
}

TEST(ComponentFace, AnswersNothingWhenMemoryRunsOut) {
    test::FakePlatform platform;
    platform.deviceIdentity = "a device identifier of some length";
    const auto manager = createManager("", false, platform.services());
    IKLBManager& face = *manager;
    // The face belongs to the library's manager and to no other.
    EXPECT_EQ(face.GetOverrideInfoString(nullptr, 0), 0U);
    EXPECT_EQ(face.RegisterToggle("/key", 1, "token"), static_cast<OBXResult>(0x8000FFFFU));
    libraryState().manager = manager.get();
    const std::uint32_t size = face.GetOverrideInfoString(nullptr, 0);
    EXPECT_GT(size, 0U);
    {
        // This report needs no memory.
        const test::FailingAllocation failure(1);
        EXPECT_EQ(face.GetOverrideInfoString(nullptr, 0), size);
        EXPECT_FALSE(failure.happened());
    }
    {
        const test::FailingAllocation failure(1);
        EXPECT_EQ(face.RegisterToggle("/key", 1, "token"), static_cast<OBXResult>(0x8000FFFFU));
        EXPECT_TRUE(failure.happened());
    }
    EXPECT_EQ(face.IsToggleRegistered("/key"), 0);
    EXPECT_EQ(face.RegisterToggle("/key", 1, "token"), 0);
    EXPECT_EQ(face.IsToggleRegistered("/key"), 1);
    libraryState().manager = nullptr;
}

struct CountingInterface {
    int* released;

    void Release() const {
        ++*released;
    }
};

TEST(HostPtr, ReleasesOnce) {
    int released = 0;
    CountingInterface counted{&released};
    {
        const HostPtr<CountingInterface> reference(&counted);
        EXPECT_TRUE(reference);
        EXPECT_EQ(released, 0);
    }
    EXPECT_EQ(released, 1);
    {
        const HostPtr<CountingInterface> none;
        EXPECT_FALSE(none);
    }
    EXPECT_EQ(released, 1);
}

TEST(HostPtr, MovesItsReference) {
    int firstReleased = 0;
    int secondReleased = 0;
    CountingInterface first{&firstReleased};
    CountingInterface second{&secondReleased};
    HostPtr<CountingInterface> reference(&first);
    HostPtr<CountingInterface> other(std::move(reference));
    EXPECT_EQ(other.get(), &first);
    reference = HostPtr<CountingInterface>(&second);
    EXPECT_EQ(reference.get(), &second);
    EXPECT_EQ(firstReleased + secondReleased, 0);
    reference = std::move(other);
    EXPECT_EQ(secondReleased, 1);
    EXPECT_EQ(reference.get(), &first);
    reference.reset();
    EXPECT_EQ(firstReleased, 1);
    EXPECT_FALSE(reference);
}

} // namespace
} // namespace klb
