#include <klb.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <windows.h>

namespace {

std::vector<char> versionInfo() {
    // The call makes sure that the DLL is there.
    KLB_IsInitialized();
    DWORD ignored = 0;
    std::vector<char> info(GetFileVersionInfoSizeA("klb.dll", &ignored));
    if (info.empty() ||
        !GetFileVersionInfoA("klb.dll", 0, static_cast<DWORD>(info.size()), info.data())) {
        return {};
    }
    return info;
}

std::string text(const std::vector<char>& info, const std::string& name) {
    void* value = nullptr;
    UINT length = 0;
    const std::string path = "\\StringFileInfo\\040904B0\\" + name;
    if (info.empty() || !VerQueryValueA(info.data(), path.c_str(), &value, &length)) {
        return {};
    }
    return static_cast<const char*>(value);
}

TEST(VersionResource, HasTheProjectsVersionInNumbers) {
    const std::vector<char> info = versionInfo();
    ASSERT_FALSE(info.empty());
    void* value = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueA(info.data(), "\\", &value, &length));
    ASSERT_EQ(length, sizeof(VS_FIXEDFILEINFO));
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(fixed->dwFileVersionMS, DWORD{KLB_VERSION_MAJOR << 16 | KLB_VERSION_MINOR});
    EXPECT_EQ(fixed->dwFileVersionLS, DWORD{KLB_VERSION_PATCH << 16});
    EXPECT_EQ(fixed->dwProductVersionMS, fixed->dwFileVersionMS);
    EXPECT_EQ(fixed->dwProductVersionLS, fixed->dwFileVersionLS);
    EXPECT_EQ(fixed->dwFileType, DWORD{VFT_DLL});
}

TEST(VersionResource, SaysWhatTheFileIs) {
    const std::vector<char> info = versionInfo();
    EXPECT_EQ(text(info, "FileDescription"), "Feature toggles for a host application");
    EXPECT_EQ(text(info, "FileVersion"), KLB_VERSION);
    EXPECT_EQ(text(info, "InternalName"), "klb");
    EXPECT_EQ(text(info, "OriginalFilename"), "klb.dll");
    EXPECT_EQ(text(info, "ProductName"), "klb");
    EXPECT_EQ(text(info, "ProductVersion"), KLB_VERSION);
}

} // namespace
