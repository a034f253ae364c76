#include "device_identifier.h"
#include "error_mode.h"
#include "library_session.h"
#include "report_helpers.h"
#include "sessions.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

std::string deviceLine() {
    const std::string identifier = deviceIdentifier();
    return identifier.empty() ? "" : "DeviceID : " + identifier + "\n";
}

TEST(GetOverrideInfoStringDevice, IsNamedFirstWhenItIsTheSystemIdentifier) {
    if (deviceIdentifier().empty()) {
        GTEST_SKIP() << "this computer has no identity";
    }
    const TempDirectory directory;
    const std::string file = directory.write("core.json", R"({"features":{"a":true}})");
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("");
        observer.expectSilence([&] {
            // The label has 11 bytes; a line break and the NUL follow the identifier.
            EXPECT_EQ(KLB_GetOverrideInfoString(nullptr, 0), deviceIdentifier().size() + 13);
            EXPECT_EQ(overrideInfo(), deviceLine());
            registerPlainFile("A", file);
            KLB_RegisterToggle("/a", false, "A");
            EXPECT_EQ(overrideInfo(), deviceLine() + "A : " + file + "\n/a : true\n");
        });
    });
}

TEST(GetOverrideInfoStringDevice, IsNamedOnlyForTheEmptySystemIdentifier) {
    const std::string identifier = deviceIdentifier();
    const LibrarySession library(identifier.empty() ? " " : identifier.c_str());
    EXPECT_EQ(overrideInfo(), "");
    KLB_Init("", true);
    EXPECT_EQ(overrideInfo(), "");
}

TEST(GetOverrideInfoStringDevice, IsSettledAnewInEverySession) {
    for (const char* systemId : {"", "First", "", " "}) {
        SCOPED_TRACE(systemId);
        const LibrarySession library(systemId);
        KLB_Init("ignored", true);
        EXPECT_EQ(overrideInfo(), *systemId == '\0' ? deviceLine() : "");
    }
}

TEST(GetOverrideInfoStringSources, FilesThatCannotBeUsedAreNotNamed) {
    const std::string features = featuresFile(R"("a":true)");
    const struct {
        const char* name;
        std::optional<std::string> bytes;
    } cases[] = {
        {"missing", std::nullopt},
        {"too small", "{}"},
        {"damaged", features + "}"},
        {"another system's", documentFor("Other", R"("features":{"a":true})")},
        {"not plain", " " + features},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const TempDirectory broken;
        if (c.bytes) {
            broken.write("core.json", *c.bytes);
            broken.write(kOverrideFile, *c.bytes);
        }
        const MessageRecorder ignored;
        const OverridingSession session(broken);
        registerPlainFile("core", broken.pathOf("core.json"));
        KLB_RegisterToggle("/a", false, "core");
        KLB_RegisterToggle("/features/a", false, "core");
        EXPECT_EQ(overrideInfo(), "");
    }
}

TEST(GetOverrideInfoStringSources, FileReadByALaterToggleIsNamed) {
    const TempDirectory directory;
    const std::string features = featuresFile(R"("a":true,"b":true)");
    const std::string file = directory.write("core.json", " " + features);
    const LibrarySession library;
    registerPlainFile("core", file);
    KLB_RegisterToggle("/a", false, "core");
    directory.write("core.json", features);
    KLB_RegisterToggle("/b", false, "core");
    EXPECT_EQ(overrideInfo(), "core : " + file + "\n/b : true\n");
}

TEST(GetOverrideInfoStringSources, FileAttachedLaterListsNoEarlierToggle) {
    const TempDirectory directory;
    const std::string taken = directory.write("taken.json", featuresFile(R"("a":true)"));
    const std::string own =
        directory.write("own.json", featuresFile(R"("early":true,"late":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        registerPlainFile("first", taken);
        observer.expectError<std::domain_error>(ownedFileText("second"),
                                                [&] { registerPlainFile("second", taken); });
        KLB_RegisterToggle("/early", false, "second");
        observer.expectSilence([&] {
            EXPECT_EQ(overrideInfo(), "");
            registerPlainFile("second", own);
            EXPECT_EQ(overrideInfo(), "");
            KLB_RegisterToggle("/late", false, "second");
            EXPECT_EQ(overrideInfo(), "second : " + own + "\n/late : true\n");
        });
    });
}

TEST(GetOverrideInfoStringSources, RefusedRegistrationsAreNotListed) {
    const TempDirectory directory;
    const std::string first = directory.write("first.json", featuresFile(R"("a":false)"));
    const std::string second = directory.write("second.json", featuresFile(R"("a":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        registerPlainFile("first", first);
        registerPlainFile("second", second);
        KLB_RegisterToggle("/a", false, "first");
        observer.expectError<std::domain_error>("registerToggle: /a already registred in " + first,
                                                [] { KLB_RegisterToggle("/a", false, "second"); });
        observer.expectSilence([] { KLB_RegisterToggle("/a", true, "first"); });
        EXPECT_EQ(overrideInfo(), "");
    });
}

TEST(GetOverrideInfoStringSources, DamagedOverrideFileListsNothing) {
    const TempDirectory directory;
    const std::string overrideFile = directory.write(kOverrideFile, "{\"a\":true,");
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        observer.expectError<std::domain_error>(
            loadErrorText("ParseErrorObjectMissName", overrideFile, 10),
            [] { KLB_RegisterToggle("/a", false, "core"); });
        observer.expectSilence([] { KLB_RegisterToggle("/a", false, "core"); });
        EXPECT_EQ(overrideInfo(), "");
    });
}

TEST(GetOverrideInfoStringSources, OverrideFileCountsOnlyWhileOverridesAreEnabled) {
    const TempDirectory directory;
    directory.write(kOverrideFile, documentWith(R"("a":true)"));
    const LibrarySession library("TestSystem", false);
    KLB_SetOverridePath(directory.path().c_str());
    KLB_RegisterToggle("/a", false, "core");
    EXPECT_EQ(overrideInfo(), "");
}

TEST(GetOverrideInfoStringSources, DirectoryOfTheOverrideFileMayEndInASeparator) {
    const TempDirectory directory;
    const std::string overrideFile = directory.write(kOverrideFile, documentWith(R"("a":true)"));
    const LibrarySession library("TestSystem", true);
    KLB_SetOverridePath((directory.path() + kSeparator).c_str());
    KLB_RegisterToggle("/a", false, "core");
    EXPECT_EQ(overrideInfo(), "cit.feature.overrides : " + overrideFile + "\n/a : true\n");
}

TEST(GetOverrideInfoStringSources, ReservedTokenListsWhatEitherSearchOfItsFileSet) {
    const TempDirectory directory;
    const std::string overrideFile = directory.write(
        kOverrideFile,
        documentWith(
            R"("features":{"inFeatures":true,"inBoth":true},"inBoth":false,"inRoot":true)"));
    const OverridingSession session(directory);
    for (const char* key : {"/inRoot", "/inFeatures", "/inBoth", "/nowhere"}) {
        KLB_RegisterToggle(key, false, kOverrideToken);
    }
    EXPECT_EQ(overrideInfo(), "cit.feature.overrides : " + overrideFile +
                                  "\n"
                                  "/inBoth : false\n"
                                  "/inFeatures : true\n"
                                  "/inRoot : true\n");
}

TEST(GetOverrideInfoStringSources, HostsOwnFileUnderTheReservedTokenIsNamedInstead) {
    const TempDirectory directory;
    directory.write(kOverrideFile, documentWith(R"("a":true,"b":true)"));
    const std::string own = directory.write("own.json", documentWith(R"("a":true,"c":false)"));
    for (const KLB_ToggleFileType type :
         {KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override}) {
        SCOPED_TRACE(static_cast<int>(type));
        MessageRecorder recorder;
        const OverridingSession session(directory);
        KLB_RegisterToggleFile(type, kOverrideToken, own.c_str());
        KLB_RegisterToggle("/a", false, "core");
        KLB_RegisterToggle("/b", false, "core");
        KLB_RegisterToggle("/c", true, "core");
        EXPECT_EQ(recorder.take(), std::vector<Message>{error(otherFileText(own))});
        EXPECT_EQ(overrideInfo(), "cit.feature.overrides : " + own + "\n/a : true\n/c : false\n");
    }
}

TEST(GetOverrideInfoStringSources, ReservedTokenIsLikeAnyOtherWhileOverridesAreDisabled) {
    const TempDirectory directory;
    const std::string own = directory.write("own.json", featuresFile(R"("a":true,"b":true)"));
    const LibrarySession library("TestSystem", false);
    registerPlainFile(kOverrideToken, own);
    KLB_RegisterToggle("/a", false, kOverrideToken);
    KLB_RegisterToggle("/b", false, "core");
    EXPECT_EQ(overrideInfo(), "cit.feature.overrides : " + own + "\n/a : true\n");
}

TEST(GetOverrideInfoStringSources, OverrideFileUnderAnotherTokenListsThatTokensTogglesOnly) {
    const TempDirectory directory;
    const std::string overrideFile =
        directory.write(kOverrideFile, documentWith(R"("a":true,"b":true)"));
    MessageRecorder recorder;
    const OverridingSession session(directory);
    registerPlainFile("mine", overrideFile);
    KLB_RegisterToggle("/a", false, "mine");
    EXPECT_EQ(recorder.take(), std::vector<Message>{error(ownedFileText(kOverrideToken))});
    KLB_RegisterToggle("/b", false, "core");
    EXPECT_EQ(overrideInfo(), "mine : " + overrideFile + "\n/a : true\n");
}

TEST(GetOverrideInfoStringSources, OwnTokenOfTheOverrideTypeIsNamedLikeAnyOther) {
    const TempDirectory directory;
    const std::string own = directory.write("own.json", featuresFile(R"("a":true)"));
    const LibrarySession library;
    KLB_RegisterToggleFile(KLB_ToggleFileType_Override, "mine", own.c_str());
    KLB_RegisterToggle("/a", false, "mine");
    EXPECT_EQ(overrideInfo(), "mine : " + own + "\n/a : true\n");
}

} // namespace

} // namespace klb::test
