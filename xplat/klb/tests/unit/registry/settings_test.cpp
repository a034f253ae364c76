#include "registry/settings.h"

#include "support/fake_platform.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace klb {
namespace {

std::string errorOf(const Platform& platform) {
    try {
        getLocalFilePath(platform);
        return "none";
    } catch (const std::runtime_error& caught) {
        EXPECT_EQ(typeid(caught), typeid(std::runtime_error));
        return caught.what();
    }
}

TEST(GetLocalFilePath, IsTheExecutablesDirectory) {
    test::FakePlatform platform;
    platform.executablePath = "C:\\Program Files\\App\\app.exe";
    EXPECT_EQ(getLocalFilePath(platform.services()), "C:\\Program Files\\App\\");
    platform.executablePath = "C:\\app.exe";
    EXPECT_EQ(getLocalFilePath(platform.services()), "C:\\");
}

TEST(GetLocalFilePath, ThrowsWithoutADirectory) {
    test::FakePlatform platform;
    EXPECT_EQ(errorOf(platform.services()), "getLocalFilePath: cannot get module file name path.");
    platform.executablePath = "app.exe";
    EXPECT_EQ(errorOf(platform.services()), "getProcessDir: Invalid path.");
    platform.executablePath = "";
    EXPECT_EQ(errorOf(platform.services()), "getProcessDir: Invalid path.");
}

TEST(GetLocalFilePath, TakesNamesOfUpTo1040Bytes) {
    test::FakePlatform platform;
    platform.executablePath = "C:\\" + std::string(1037, 'x');
    EXPECT_EQ(getLocalFilePath(platform.services()), "C:\\");
    *platform.executablePath += 'x';
    EXPECT_EQ(errorOf(platform.services()), "getProcessDir: Invalid path.");
}

TEST(GetSupportDirectory, IsTheExpansionOrTheFixedDirectory) {
    test::FakePlatform platform;
    platform.supportDirectory = "D:\\Data\\Mosk\\Support\\";
    EXPECT_EQ(getSupportDirectory(platform.services()), "D:\\Data\\Mosk\\Support\\");
    platform.supportDirectory = std::nullopt;
    EXPECT_EQ(getSupportDirectory(platform.services()), kSupportDirectory.fallback);
}

TEST(GetSupportDirectory, IsCutAt1040Bytes) {
    test::FakePlatform platform;
    platform.supportDirectory = std::string(1041, 'x');
    EXPECT_EQ(getSupportDirectory(platform.services()), std::string(1040, 'x'));
}

TEST(OverrideFilePath, IsBesideTheExecutableUnlessSet) {
    test::FakePlatform platform;
    platform.executablePath = "C:\\" + std::string(1000, 'd') + "\\app.exe";
    Registry registry;
    registry.platform = &platform.services();
    EXPECT_EQ(overrideFilePath(registry), "C:\\" + std::string(1000, 'd') + "\\CIT_OVERRIDE.KLB");
    setOverridePath(registry, "D:\\cfg");
    EXPECT_EQ(overrideFilePath(registry), "D:\\cfg\\CIT_OVERRIDE.KLB");
}

} // namespace
} // namespace klb
