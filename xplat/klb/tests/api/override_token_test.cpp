#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

/// A directory with an override file and a file of the host's own.
class OverrideToken : public testing::Test {
protected:
    void startLibrary() {
        KLB_Init("TestSystem", true);
        KLB_SetOverridePath(directory_.path().c_str());
    }
    void TearDown() override {
        KLB_Term();
    }

    TempDirectory directory_;
    const std::string overridePath_ =
        directory_.write(kOverrideFile, documentWith(R"("a":true,"b":true,"own":false)"));
    const std::string hostPath_ =
        directory_.write("host.json", documentWith(R"("a":false,"own":true)"));
    const std::string alreadySet_ = otherFileText(hostPath_);
    const std::string alreadyOwned_ = ownedFileText(kOverrideToken);
};

TEST_F(OverrideToken, HostMayRegisterTheOverrideFileItself) {
    for (const KLB_ToggleFileType type :
         {KLB_ToggleFileType_Override, KLB_ToggleFileType_Supported}) {
        SCOPED_TRACE(static_cast<int>(type));
        inBothErrorModes([&](ErrorObserver& observer) {
            startLibrary();
            observer.expectSilence([&] {
                KLB_RegisterToggleFile(type, kOverrideToken, overridePath_.c_str());
                EXPECT_TRUE(registeredValue("/a", false, "core"));
                EXPECT_FALSE(registeredValue("/own", true, "core"));
            });
            KLB_Term();
        });
    }
}

TEST_F(OverrideToken, DamagedOverrideFileRegisteredByTheHostIsReportedToTheHostOnly) {
    directory_.write(kOverrideFile, "{\"a\":true,");
    inBothErrorModes([&](ErrorObserver& observer) {
        startLibrary();
        observer.expectError<std::domain_error>(
            loadErrorText("ParseErrorObjectMissName", overridePath_, 10),
            [&] { registerPlainFile(kOverrideToken, overridePath_); });
        observer.expectSilence([] { EXPECT_FALSE(registeredValue("/a", false, "core")); });
        KLB_Term();
    });
}

TEST_F(OverrideToken, HostFileTakesThePlaceOfTheOverrideFileAfterACallbackTookTheConflict) {
    for (const KLB_ToggleFileType type :
         {KLB_ToggleFileType_Override, KLB_ToggleFileType_Supported}) {
        SCOPED_TRACE(static_cast<int>(type));
        MessageRecorder recorder;
        startLibrary();
        KLB_RegisterToggleFile(type, kOverrideToken, hostPath_.c_str());
        EXPECT_EQ(recorder.take(), std::vector<Message>{});

        KLB_RegisterToggle("/a", true, "core");
        EXPECT_EQ(recorder.take(), std::vector<Message>{error(alreadySet_)});
        EXPECT_FALSE(KLB_GetToggle("/a"));
        EXPECT_TRUE(registeredValue("/own", false, "core"));
        EXPECT_FALSE(registeredValue("/b", false, "core"));
        EXPECT_EQ(recorder.take(), std::vector<Message>{});

        // The conflict is over, for whoever listens now.
        KLB_InitMessageProc(nullptr);
        EXPECT_NO_THROW(KLB_RegisterToggle("/c", true, "core"));
        EXPECT_TRUE(KLB_GetToggle("/c"));
        KLB_Term();
    }
}

TEST_F(OverrideToken, HostFileMakesEveryRegistrationThrowUntilACallbackTakesTheConflict) {
    startLibrary();
    ErrorObserver throwing(ErrorMode::Exception);
    throwing.expectSilence([&] { registerPlainFile(kOverrideToken, hostPath_); });
    for (const ToggleKind* kind : {&kStaticKind, &kDynamicKind, &kStaticKind}) {
        SCOPED_TRACE(kind->name);
        for (const char* key : {"/a", "/b", ""}) {
            SCOPED_TRACE(key);
            throwing.expectError<std::domain_error>(
                alreadySet_, [&] { kind->registerToggle(key, true, "core"); });
            EXPECT_TRUE(lockIsFree());
            EXPECT_FALSE(kind->isRegistered(key));
            throwing.expectError<std::invalid_argument>(
                "registerToggle: toggleFileToken cannot be NULL.",
                [&] { kind->registerToggle(key, true, nullptr); });
        }
        throwing.expectError<std::domain_error>(
            alreadySet_, [&] { kind->registerToggle("/a", true, kOverrideToken); });
    }
    EXPECT_FALSE(KLB_IsToggleFileRegistered("core"));

    MessageRecorder recorder;
    KLB_RegisterToggle("/a", true, "core");
    EXPECT_EQ(recorder.take(), std::vector<Message>{error(alreadySet_)});
    EXPECT_FALSE(KLB_GetToggle("/a"));
    EXPECT_TRUE(registeredValue("/own", false, "core"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
}

TEST_F(OverrideToken, HostFileThatIsMissingStillTakesThePlace) {
    directory_.remove("host.json");
    MessageRecorder recorder;
    startLibrary();
    registerPlainFile(kOverrideToken, hostPath_);
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
    EXPECT_FALSE(registeredValue("/a", false, "core"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{error(alreadySet_)});
    EXPECT_FALSE(registeredValue("/b", false, "core"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
}

TEST_F(OverrideToken, OverrideFileOwnedByAnotherTokenGivesNoOverridesAfterACallbackTookIt) {
    MessageRecorder recorder;
    startLibrary();
    registerPlainFile("mine", overridePath_);
    KLB_RegisterToggle("/a", false, "core");
    EXPECT_EQ(recorder.take(), std::vector<Message>{error(alreadyOwned_)});
    EXPECT_FALSE(KLB_GetToggle("/a"));
    EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));

    // The file serves its owner, and nothing is tried again.
    EXPECT_FALSE(registeredValue("/own", true, "mine"));
    EXPECT_FALSE(registeredValue("/b", false, "core"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
    KLB_InitMessageProc(nullptr);
    EXPECT_NO_THROW(KLB_RegisterToggle("/c", true, "core"));
    EXPECT_TRUE(KLB_GetToggle("/c"));
}

TEST_F(OverrideToken, OverrideFileOwnedByAnotherTokenMakesEveryRegistrationThrow) {
    startLibrary();
    ErrorObserver throwing(ErrorMode::Exception);
    throwing.expectSilence([&] { registerPlainFile("mine", overridePath_); });
    for (const ToggleKind* kind : {&kStaticKind, &kDynamicKind, &kStaticKind}) {
        SCOPED_TRACE(kind->name);
        for (const char* token : {"core", "mine", kOverrideToken}) {
            SCOPED_TRACE(token);
            throwing.expectError<std::domain_error>(
                alreadyOwned_, [&] { kind->registerToggle("/a", false, token); });
            EXPECT_TRUE(lockIsFree());
            EXPECT_FALSE(kind->isRegistered("/a"));
        }
    }
    EXPECT_FALSE(KLB_IsToggleFileRegistered("core"));
    EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));

    MessageRecorder recorder;
    EXPECT_FALSE(registeredValue("/a", false, "core"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{error(alreadyOwned_)});
    EXPECT_FALSE(registeredValue("/b", false, "core"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
}

TEST_F(OverrideToken, WithoutAPathItStillTakesTheOverrideFile) {
    inBothErrorModes([&](ErrorObserver& observer) {
        startLibrary();
        registerPlainFile("mine", hostPath_);
        observer.expectError<std::domain_error>(
            alreadyOwned_, [&] { registerPlainFile(kOverrideToken, hostPath_); });
        EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));
        observer.expectSilence([] {
            EXPECT_TRUE(registeredValue("/a", false, "core"));
            EXPECT_FALSE(registeredValue("/own", true, "mine"));
        });
        KLB_Term();
    });
}

TEST_F(OverrideToken, RegisteredByTheFirstToggleItRefusesAnotherFile) {
    inBothErrorModes([&](ErrorObserver& observer) {
        startLibrary();
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        observer.expectError<std::domain_error>(
            otherFileText(overridePath_), [&] { registerPlainFile(kOverrideToken, hostPath_); });
        observer.expectSilence([&] { registerPlainFile(kOverrideToken, overridePath_); });
        EXPECT_TRUE(registeredValue("/b", false, "core"));
        EXPECT_FALSE(registeredValue("/own", true, "core"));
        KLB_Term();
    });
}

TEST_F(OverrideToken, AsTheTokenOfAToggleItsFileIsSearchedTwice) {
    const struct {
        const char* key;
        bool defaultValue;
        bool value;
    } cases[] = {
        {"/inFeatures", false, true}, // found in "features", as in any toggle file
        {"/inBoth", false, false},    // found there too, and then overridden from the root
        {"/inRoot", false, true},     // found as an override
        {"/features/inFeatures", false, true},
        {"/nowhere", true, true},
    };
    directory_.write(
        kOverrideFile,
        documentWith(
            R"("features":{"inFeatures":true,"inBoth":true},"inBoth":false,"inRoot":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        startLibrary();
        observer.expectSilence([&] {
            for (const auto& c : cases) {
                SCOPED_TRACE(c.key);
                EXPECT_EQ(registeredValue(c.key, c.defaultValue, kOverrideToken), c.value);
            }
        });
        KLB_Term();
    });
}

TEST(OverrideTokenWhileDisabled, IsATokenLikeAnyOther) {
    const TempDirectory directory;
    const std::string path = directory.write("host.json", featuresFile(R"("a":true,"b":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library("TestSystem", false);
        observer.expectSilence([&] {
            registerPlainFile(kOverrideToken, path);
            EXPECT_TRUE(registeredValue("/a", false, kOverrideToken));
            EXPECT_FALSE(registeredValue("/b", false, "core"));
            EXPECT_FALSE(registeredValue("/features/b", false, "core"));
        });
    });
}

} // namespace

} // namespace klb::test
