#include "publication.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <string>

namespace klb::test {
namespace {

/// Does what a plug-in does that knows the older interface and nothing else of the library.
bool isOnForAPlugin(const FakeFramework& framework, const char* key) {
    IOBXUnknown* const object = framework.findSingleton(KLB_ManagerClassId);
    if (!object) {
        return false;
    }
    void* out = nullptr;
    if (object->QueryInterface(KLB_IID_IKLBManager1, &out) < 0 || !out) {
        return false;
    }
    auto* const manager = static_cast<IKLBManager1*>(out);
    uint32_t value = 0;
    const bool isOn =
        manager->IsToggleRegistered(key) == 1 && manager->GetToggle(key, &value) == 0 && value == 1;
    manager->Release();
    return isOn;
}

TEST(PlugIn, FindsTheManagerAndAsksForAToggleOfTheHost) {
    const TempDirectory directory;
    const std::string file = directory.write("t.json", featuresFile(R"("tool":true)"));
    FakeFramework framework;
    EXPECT_FALSE(isOnForAPlugin(framework, "/tool"));
    {
        const LibrarySession library;
        registerPlainFile("host", file);
        KLB_RegisterToggle("/tool", false, "host");
        EXPECT_FALSE(isOnForAPlugin(framework, "/tool"));
        KLB_InitOBX(framework.host());
        EXPECT_TRUE(isOnForAPlugin(framework, "/tool"));
        EXPECT_FALSE(isOnForAPlugin(framework, "/other"));
    }
    EXPECT_FALSE(isOnForAPlugin(framework, "/tool"));
}

TEST(PlugIn, RegistersTogglesOfItsOwn) {
    const TempDirectory directory;
    const std::string file = directory.write("p.json", featuresFile(R"("p":{"fast":true})"));
    const Publication published;
    auto* const manager = queryFor<IKLBManager1>(
        published.framework.findSingleton(KLB_ManagerClassId), KLB_IID_IKLBManager1);
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->RegisterToggleFile(2, "plug-in", file.c_str()), 0);
    EXPECT_EQ(manager->RegisterToggle("/p/fast", 0, "plug-in"), 0);
    uint32_t value = 7;
    EXPECT_EQ(manager->GetToggle("/p/fast", &value), 0);
    EXPECT_EQ(value, 1U);
    EXPECT_TRUE(KLB_GetToggle("/p/fast"));
}

} // namespace
} // namespace klb::test
