#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "register_toggle_file_helpers.h"
#include "temp_directory.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace klb::test {
namespace {

/// A session with overrides enabled, whose override file belongs into a directory of its own.
class OverrideSession {
public:
    OverrideSession() : session_("TestSystem", true) {
        KLB_SetOverridePath(directory_.path().c_str());
    }
    std::string path() const {
        return directory_.pathOf(kOverrideFile);
    }
    std::string write(const std::string& bytes) const {
        return directory_.write(kOverrideFile, bytes);
    }
    const TempDirectory& directory() const {
        return directory_;
    }

private:
    TempDirectory directory_;
    LibrarySession session_;
};

TEST(ReservedToken, IsRegisteredWithTheFirstToggle) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideSession session;
        session.write(document(R"("a":true)"));
        observer.expectSilence([] {
            registerPlainFile("token", "klb-no-such\\file.json");
            EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
            EXPECT_TRUE(newToggle("/a", "token"));
            EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));
        });
        expectPath(observer, kOverrideToken, session.path());
    });
}

TEST(ReservedToken, IsNotRegisteredWithOverridesDisabled) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.write(kOverrideFile, document(R"("a":true)"));
        const LibrarySession session("TestSystem", false);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            EXPECT_FALSE(newToggle("/a", "token"));
            EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
        });
    });
}

TEST(ReservedToken, SameOverrideFileRegisteredByTheHostBeforehandIsSilentAndServes) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideSession session;
        const std::string file = session.write(document(R"("a":true)"));
        observer.expectSilence([&] {
            registerPlainFile(kOverrideToken, file);
            EXPECT_TRUE(newToggle("/a", "token"));
        });
        expectPath(observer, kOverrideToken, file);
    });
}

TEST(ReservedToken, SameOverrideFileRegisteredByTheHostAfterwardsIsSilent) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideSession session;
        const std::string file = session.write(document(R"("a":true,"b":true)"));
        observer.expectSilence([&] {
            EXPECT_TRUE(newToggle("/a", "token"));
            registerPlainFile(kOverrideToken, file);
            EXPECT_TRUE(newToggle("/b", "token"));
        });
    });
}

TEST(ReservedToken, OverrideFileCannotBeTakenByAnotherTokenAfterwards) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideSession session;
        const std::string file = session.write(document(R"("a":true)"));
        observer.expectSilence([] { EXPECT_TRUE(newToggle("/a", "token")); });
        observer.expectError<std::domain_error>(ownedFileText("host"),
                                                [&] { registerPlainFile("host", file); });
    });
}

TEST(ReservedToken, OverrideTypeFromTheHostIsPlainAndServes) {
    inBothErrorModes([](ErrorObserver& observer) {
        const OverrideSession session;
        const std::string file = session.write(document(R"("a":true)"));
        observer.expectSilence([&] {
            KLB_RegisterToggleFile(KLB_ToggleFileType_Override, kOverrideToken, file.c_str());
            EXPECT_TRUE(newToggle("/a", "token"));
        });
    });
}

TEST(ReservedToken, HostsOwnFileTakesThePlaceOfTheOverrideFileAfterOneMessage) {
    ErrorObserver observer(ErrorMode::Callback);
    const OverrideSession session;
    session.write(document(R"("a":false,"b":true)"));
    const std::string own = session.directory().write("own.json", document(R"("a":true)"));
    observer.expectSilence([&] { registerPlainFile(kOverrideToken, own); });

    observer.expectError<std::domain_error>(otherFileText(own),
                                            [] { KLB_RegisterToggle("/a", false, "token"); });
    observer.expectSilence([] {
        EXPECT_TRUE(KLB_GetToggle("/a"));
        EXPECT_FALSE(newToggle("/b", "token"));
    });
    expectPath(observer, kOverrideToken, own);
}

TEST(ReservedToken, HostsOwnFileMakesEveryToggleRegistrationThrow) {
    ErrorObserver observer(ErrorMode::Exception);
    const OverrideSession session;
    session.write(document(R"("a":true)"));
    const std::string own = session.directory().write("own.json", document(R"("a":true)"));
    observer.expectSilence([&] { registerPlainFile(kOverrideToken, own); });

    for (int attempt = 0; attempt < 3; ++attempt) {
        observer.expectError<std::domain_error>(otherFileText(own),
                                                [] { KLB_RegisterToggle("/a", false, "token"); });
        observer.expectError<std::domain_error>(
            otherFileText(own), [] { KLB_RegisterDynamicToggle("/d", false, "token"); });
        EXPECT_FALSE(KLB_IsToggleRegistered("/a"));
        EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/d"));
        EXPECT_FALSE(KLB_IsToggleFileRegistered("token"));
    }
    // Null arguments come first.
    observer.expectError<std::invalid_argument>("registerToggle: toggleFileToken cannot be NULL.",
                                                [] { KLB_RegisterToggle("/a", false, nullptr); });
    observer.expectError<std::invalid_argument>("registerToggle: toggleKey cannot be NULL.",
                                                [] { KLB_RegisterToggle(nullptr, false, "t"); });

    // A callback takes the message once, and all goes on from there.
    ErrorObserver later(ErrorMode::Callback);
    later.expectError<std::domain_error>(otherFileText(own),
                                         [] { KLB_RegisterToggle("/a", false, "token"); });
    EXPECT_TRUE(KLB_GetToggle("/a"));
    later.expectSilence([] { EXPECT_FALSE(newToggle("/b", "token")); });
}

TEST(ReservedToken, OverrideFileUnderAnotherTokenIsReportedOnceAndSetsNothing) {
    ErrorObserver observer(ErrorMode::Callback);
    const OverrideSession session;
    const std::string file = session.write(document(R"("a":true,"b":true)"));
    observer.expectSilence([&] { registerPlainFile("host", file); });

    observer.expectError<std::domain_error>(ownedFileText(kOverrideToken),
                                            [] { KLB_RegisterToggle("/a", false, "token"); });
    observer.expectSilence([] {
        EXPECT_FALSE(KLB_GetToggle("/a"));
        EXPECT_FALSE(newToggle("/b", "token"));
    });
    expectPath(observer, "host", file);
    expectNoPath(observer, kOverrideToken);
}

TEST(ReservedToken, OverrideFileUnderAnotherTokenMakesEveryToggleRegistrationThrow) {
    ErrorObserver observer(ErrorMode::Exception);
    const OverrideSession session;
    const std::string file = session.write(document(R"("a":true,"features":{"a":true})"));
    observer.expectSilence([&] { registerPlainFile("host", file); });
    for (int attempt = 0; attempt < 3; ++attempt) {
        observer.expectError<std::domain_error>(ownedFileText(kOverrideToken),
                                                [] { KLB_RegisterToggle("/a", false, "host"); });
        EXPECT_FALSE(KLB_IsToggleRegistered("/a"));
        EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));
    }
}

TEST(ReservedToken, HostMayGiveItAFileWhileItHasNone) {
    ErrorObserver observer(ErrorMode::Exception);
    const OverrideSession session;
    const std::string file = session.write(document(R"("a":false)"));
    const std::string own = session.directory().write("own.json", document(R"("a":true)"));
    observer.expectSilence([&] { registerPlainFile("host", file); });
    observer.expectError<std::domain_error>(ownedFileText(kOverrideToken),
                                            [] { KLB_RegisterToggle("/a", false, "token"); });
    observer.expectSilence([&] { registerPlainFile(kOverrideToken, own); });
    observer.expectError<std::domain_error>(otherFileText(own),
                                            [] { KLB_RegisterToggle("/a", false, "token"); });
}

TEST(ReservedToken, MissingFileOfTheHostServesAsAnOverrideFileWithoutValues) {
    ErrorObserver observer(ErrorMode::Callback);
    const OverrideSession session;
    session.write(document(R"("a":true)"));
    const std::string own = session.directory().pathOf("missing.json");
    observer.expectSilence([&] { registerPlainFile(kOverrideToken, own); });
    observer.expectError<std::domain_error>(otherFileText(own),
                                            [] { KLB_RegisterToggle("/a", false, "token"); });
    EXPECT_FALSE(KLB_GetToggle("/a"));
}

} // namespace
} // namespace klb::test
