#include "registry/toggles.h"

#include "registry/toggle_files.h"
#include "support/fake_platform.h"

#include <gtest/gtest.h>

namespace klb {
namespace {

constexpr const char* kFile = "C:\\toggles.json";
constexpr const char* kOverrideFile = "C:\\app\\CIT_OVERRIDE.KLB";

class Toggles : public testing::Test {
protected:
    Toggles() {
        registry.systemId = "System";
        registry.platform = &platform.services();
        platform.executablePath = "C:\\app\\host.exe";
    }

    const ToggleRecord& toggle(const char* key) {
        return *registry.toggleIndex.find(key);
    }

    test::FakePlatform platform;
    Registry registry;
};

TEST_F(Toggles, DifferingTogglesAreListedUnderTheFileThatSetThem) {
    platform.files[kFile].bytes = R"({"a":true,"b":true,"c":false,"d":true})";
    platform.files[kOverrideFile].bytes = R"({"b":false,"c":true,"d":true})";
    registry.enableOverride = true;
    registerToggleFile(registry, KLB_ToggleFileType_Supported, "token", kFile);
    for (const char* key : {"/a", "/b", "/c", "/d", "/e"}) {
        registerToggle(registry, key, false, "token", false);
    }
    const auto& ofFile = findToggleFile(registry, "token")->differingToggles;
    const auto& ofOverride = registry.overrideFile->differingToggles;
    EXPECT_EQ(ofFile.size(), 1U);
    EXPECT_EQ(ofFile.inKeyOrder().front()->key, "/a");
    // The file's true made /b differ, the override's false is its value.
    EXPECT_EQ(ofOverride.size(), 3U);
    EXPECT_TRUE(toggle("/b").differs);
    EXPECT_TRUE(toggle("/b").overridden);
    EXPECT_FALSE(toggle("/b").value());
    EXPECT_FALSE(toggle("/e").differs);
}

TEST_F(Toggles, AChangeKeepsDiffersAndTouchesNoList) {
    registerToggle(registry, "/a", false, "token", true);
    setDynamicToggle(registry, "/a", true);
    EXPECT_TRUE(toggle("/a").differs);
    setDynamicToggle(registry, "/a", false);
    EXPECT_TRUE(toggle("/a").differs);
    EXPECT_FALSE(getToggle(registry, "/a", true));
    EXPECT_TRUE(findToggleFile(registry, "token")->differingToggles.empty());
}

TEST_F(Toggles, AChangeClearsOverridden) {
    platform.files[kOverrideFile].bytes = R"({"a":true,"b":false})";
    registry.enableOverride = true;
    registerToggle(registry, "/a", false, "token", true);
    EXPECT_TRUE(toggle("/a").overridden);
    setDynamicToggle(registry, "/a", true);
    EXPECT_FALSE(toggle("/a").overridden);
}

TEST_F(Toggles, TokensAreKeptInTheOrderOfTheirFirstMention) {
    registerToggle(registry, "/a", false, "z", false);
    registerToggleFile(registry, KLB_ToggleFileType_Supported, "a", kFile);
    registerToggleFile(registry, KLB_ToggleFileType_Supported, "z", "C:\\z.json");
    ASSERT_EQ(registry.filesInOrder.size(), 2U);
    EXPECT_EQ(registry.filesInOrder[0]->token, "z");
    EXPECT_EQ(registry.filesInOrder[0]->type, KLB_ToggleFileType_Invalid);
    EXPECT_EQ(registry.filesInOrder[0]->file, "C:\\z.json");
    EXPECT_EQ(registry.filesInOrder[1]->token, "a");
    EXPECT_EQ(registry.filesInOrder[1]->type, KLB_ToggleFileType_Supported);
}

TEST_F(Toggles, ANullTokenNameIsAlwaysThrown) {
    try {
        registerToggleFileToken(registry, KLB_ToggleFileType_Supported, nullptr);
        FAIL() << "nothing was thrown";
    } catch (const std::invalid_argument& caught) {
        EXPECT_STREQ(caught.what(), "registerToggleFileToken: toggleFileTokenName cannot be NULL.");
    }
}

TEST_F(Toggles, ADocumentIsLoadedOnce) {
    platform.files[kFile].bytes = R"({"a":true})";
    registerToggleFile(registry, KLB_ToggleFileType_Supported, "token", kFile);
    ToggleFileRecord& file = *findToggleFile(registry, "token");
    ToggleDocument* const document = documentOf(registry, file);
    EXPECT_NE(document, nullptr);
    EXPECT_EQ(documentOf(registry, file), document);
    EXPECT_EQ(platform.files[kFile].opened, 1);
}

TEST_F(Toggles, AFileThatCannotBeUsedIsNotReadAgain) {
    struct Case {
        const char* bytes;
        int opened;
    };
    for (const Case& c : {Case{nullptr, 0}, Case{R"({"a":tru })", 1}}) {
        Registry other;
        other.platform = &platform.services();
        platform.files.clear();
        if (c.bytes != nullptr) {
            platform.files[kFile].bytes = c.bytes;
            EXPECT_THROW(registerToggleFile(other, KLB_ToggleFileType_Supported, "token", kFile),
                         std::domain_error);
        } else {
            registerToggleFile(other, KLB_ToggleFileType_Supported, "token", kFile);
        }
        ToggleFileRecord& file = *findToggleFile(other, "token");
        platform.files[kFile].bytes = R"({"a":true})";
        EXPECT_EQ(documentOf(other, file), nullptr);
        EXPECT_EQ(platform.files[kFile].opened, c.opened);
    }
}

TEST_F(Toggles, AFileThatWasPassedOverIsReadAgain) {
    for (const KLB_ToggleFileType type :
         {KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override}) {
        Registry other;
        other.platform = &platform.services();
        platform.files.clear();
        platform.files[kFile].bytes = "no document";
        registerToggleFile(other, type, "token", kFile);
        ToggleFileRecord& file = *findToggleFile(other, "token");
        EXPECT_EQ(documentOf(other, file), nullptr);
        EXPECT_EQ(platform.files[kFile].opened, 2);
        EXPECT_EQ(platform.files[kFile].bytesRead, 2U);
        platform.files[kFile].bytes = R"({"a":true})";
        EXPECT_NE(documentOf(other, file), nullptr);
    }
}

TEST_F(Toggles, ATokenWithoutAFileHasNoDocument) {
    registerToggle(registry, "/a", false, "token", false);
    ToggleFileRecord& file = *findToggleFile(registry, "token");
    EXPECT_EQ(documentOf(registry, file), nullptr);
    EXPECT_FALSE(file.fileMissing);
    EXPECT_EQ(file.error, "");
}

TEST_F(Toggles, TheFirstCommentStays) {
    registerToggle(registry, "/a", false, "token", false);
    EXPECT_EQ(toggle("/a").comment, nullptr);
    std::string comment = "first";
    addToggleComment(registry, "/a", comment.c_str());
    comment = "later";
    addToggleComment(registry, "/a", comment.c_str());
    EXPECT_STREQ(toggle("/a").comment, "first");

    registerToggle(registry, "/b", false, "token", false);
    addToggleComment(registry, "/b", "");
    addToggleComment(registry, "/b", "later");
    EXPECT_STREQ(toggle("/b").comment, "");
}

TEST_F(Toggles, TheOverrideFileIsTriedOnceAFileWasAttached) {
    platform.files[kOverrideFile].bytes = R"({"a":true,"b":false})";
    registry.enableOverride = true;
    for (const char* key : {"/a", "/b", "/c"}) {
        registerToggle(registry, key, false, "token", false);
    }
    EXPECT_EQ(platform.files[kOverrideFile].opened, 1);
}

TEST_F(Toggles, AnExecutableWithoutADirectoryIsThrownAtEveryRegistration) {
    platform.executablePath = std::nullopt;
    registry.enableOverride = true;
    for (int i = 0; i < 2; ++i) {
        try {
            registerToggle(registry, "/a", false, "token", false);
            FAIL() << "nothing was thrown";
        } catch (const std::runtime_error& caught) {
            EXPECT_STREQ(caught.what(), "getLocalFilePath: cannot get module file name path.");
        }
        EXPECT_FALSE(registry.anythingRegistered());
    }
}

} // namespace
} // namespace klb
