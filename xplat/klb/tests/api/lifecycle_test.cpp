#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <memory_resource>
#include <stdexcept>
#include <string>

namespace klb::test {
namespace {

const char* const kNullSystemId = "KLB_Init: sysID must not be NULL.";

/// The library compares headers with this system identifier: a file for it is read, a file for
/// another one is not. Registers two tokens that begin with the given name.
void expectSystemId(ErrorObserver& observer, const TempDirectory& directory,
                    const std::string& systemId, const std::string& name) {
    const std::string own =
        directory.write(name + " own.json", documentFor(systemId, R"("features":{"x":true})"));
    const std::string foreign = directory.write(
        name + " foreign.json", documentFor(systemId + "2", R"("features":{"x":true})"));

    observer.expectSilence([&] { registerPlainFile((name + " own").c_str(), own); });
    observer.expectError<std::domain_error>(
        loadErrorText("ErrorSystemIdDoesNotMatch", foreign),
        [&] { registerPlainFile((name + " foreign").c_str(), foreign); });
}

TEST(IsInitialized, FollowsInitAndTerm) {
    inBothErrorModes([](ErrorObserver& observer) {
        observer.expectSilence([] {
            EXPECT_FALSE(KLB_IsInitialized());
            KLB_Init("TestSystem", false);
            EXPECT_TRUE(KLB_IsInitialized());
            KLB_Term();
            EXPECT_FALSE(KLB_IsInitialized());
            KLB_Init("TestSystem", true);
            EXPECT_TRUE(KLB_IsInitialized());
            KLB_Term();
            EXPECT_FALSE(KLB_IsInitialized());
        });
    });
}

TEST(Init, NullSystemIdIsRefusedAndTheLibraryStaysUninitialised) {
    inBothErrorModes([](ErrorObserver& observer) {
        for (const bool enableOverride : {false, true}) {
            SCOPED_TRACE(enableOverride);
            observer.expectError<std::invalid_argument>(kNullSystemId,
                                                        [&] { KLB_Init(nullptr, enableOverride); });
            EXPECT_FALSE(KLB_IsInitialized());
        }
    });
}

TEST(Init, LeavesTheHostsDefaultMemoryResourceToTheHost) {
    std::pmr::memory_resource* const usual =
        std::pmr::set_default_resource(std::pmr::null_memory_resource());
    {
        const LibrarySession session("TestSystem");
        EXPECT_NO_THROW({
            KLB_RegisterDynamicToggle("/group/feature", true, "token");
            KLB_AddToggleComment("/group/feature", "a comment of more than a few characters");
            EXPECT_TRUE(KLB_GetDynamicToggle("/group/feature"));
            EXPECT_GT(KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0), 1U);
        });
    }
    std::pmr::set_default_resource(usual);
}

TEST(Init, NullSystemIdIsRefusedWithAManagerTooAndChangesNothing) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session("First");
        observer.expectSilence([] { KLB_RegisterToggle("/kept", true, "kept"); });

        observer.expectError<std::invalid_argument>(kNullSystemId, [] { KLB_Init(nullptr, true); });

        EXPECT_TRUE(KLB_IsInitialized());
        EXPECT_TRUE(KLB_IsToggleRegistered("/kept"));
        expectSystemId(observer, directory, "First", "after");
    });
}

TEST(Init, AfterARefusalAGoodCallInitialises) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        observer.expectError<std::invalid_argument>(kNullSystemId,
                                                    [] { KLB_Init(nullptr, false); });
        const LibrarySession session("Good");
        EXPECT_TRUE(KLB_IsInitialized());
        expectSystemId(observer, directory, "Good", "good");
    });
}

TEST(Init, SecondCallKeepsTheFirstSystemIdSilently) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session("First");
        observer.expectSilence([] { KLB_Init("Second", false); });
        EXPECT_TRUE(KLB_IsInitialized());
        expectSystemId(observer, directory, "First", "first");

        const std::string second =
            directory.write("second.json", documentFor("Second", R"("features":{"x":true})"));
        observer.expectError<std::domain_error>(loadErrorText("ErrorSystemIdDoesNotMatch", second),
                                                [&] { registerPlainFile("second", second); });
    });
}

TEST(Init, SecondCallWithTheEmptySystemIdKeepsTheFirst) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session("First");
        observer.expectSilence([] { KLB_Init("", false); });
        expectSystemId(observer, directory, "First", "first");
    });
}

TEST(Init, SecondCallKeepsTheFirstOverrideSetting) {
    struct Case {
        const char* name;
        bool first;
        bool second;
    };
    for (const Case& each : {Case{"off, then on", false, true}, Case{"on, then off", true, false},
                             Case{"off twice", false, false}, Case{"on twice", true, true}}) {
        SCOPED_TRACE(each.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const TempDirectory directory;
            directory.write(kOverrideFile, documentWith(R"("a":true)"));
            const LibrarySession session("TestSystem", each.first);
            observer.expectSilence([&] {
                KLB_Init("TestSystem", each.second);
                KLB_SetOverridePath(directory.path().c_str());
                EXPECT_EQ(registeredValue("/a", false, "token"), each.first);
            });
        });
    }
}

TEST(Init, SecondCallKeepsWhatWasRegistered) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession session;
        observer.expectSilence([] {
            KLB_RegisterToggle("/a", true, "token");
            KLB_RegisterDynamicToggle("/d", false, "token");
            KLB_SetDynamicToggle("/d", true);

            KLB_Init("TestSystem", false);

            EXPECT_TRUE(KLB_IsToggleFileRegistered("token"));
            EXPECT_TRUE(KLB_GetToggle("/a"));
            EXPECT_TRUE(KLB_GetDynamicToggle("/d"));
        });
    });
}

TEST(Init, SystemIdIsCopied) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        std::string systemId = "Copied";
        const LibrarySession session(systemId.c_str());
        systemId.assign("Edited");
        expectSystemId(observer, directory, "Copied", "copied");
    });
}

TEST(Init, LongSystemIdIsKeptWhole) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string systemId(100000, 's');
        const LibrarySession session(systemId.c_str());
        expectSystemId(observer, directory, systemId, "long");
    });
}

TEST(Init, StartsAfreshAfterTerm) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.write(kOverrideFile, documentFor("Second", R"("a":true)"));
        const std::string file =
            directory.write("token.json", documentFor("First", R"("features":{"a":true})"));
        {
            const LibrarySession first("First");
            observer.expectSilence([&] {
                KLB_SetOverridePath("D:\\first");
                registerPlainFile("token", file);
                EXPECT_TRUE(registeredValue("/a", false, "token"));
                KLB_RegisterDynamicToggle("/d", true, "token");
            });
        }
        const LibrarySession second("Second", true);
        observer.expectSilence([&] {
            EXPECT_FALSE(KLB_IsToggleFileRegistered("token"));
            EXPECT_FALSE(KLB_IsToggleRegistered("/a"));
            EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/d"));
            KLB_SetOverridePath(directory.path().c_str());
        });
        // The file is loaded anew, for the new system.
        observer.expectError<std::domain_error>(loadErrorText("ErrorSystemIdDoesNotMatch", file),
                                                [&] { registerPlainFile("token", file); });
        observer.expectSilence([] {
            KLB_RegisterDynamicToggle("/a", false, "token");
            EXPECT_TRUE(KLB_GetDynamicToggle("/a"));
        });
    });
}

TEST(Init, ManySessionsOneAfterAnother) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file =
            directory.write("t.json", documentWith(R"("features":{"a":true})"));
        for (int round = 0; round < 50; ++round) {
            const LibrarySession session;
            observer.expectSilence([&] {
                registerPlainFile("token", file);
                EXPECT_TRUE(registeredValue("/a", false, "token"));
            });
        }
    });
}

TEST(Term, DoesNothingWithoutAManager) {
    inBothErrorModes([](ErrorObserver& observer) {
        observer.expectSilence([] {
            KLB_Term();
            KLB_Term();
            EXPECT_FALSE(KLB_IsInitialized());
            KLB_Init("TestSystem", false);
            KLB_Term();
            KLB_Term();
            EXPECT_FALSE(KLB_IsInitialized());
        });
    });
}

TEST(Term, OneCallEndsTheSessionOfManyInits) {
    inBothErrorModes([](ErrorObserver& observer) {
        observer.expectSilence([] {
            KLB_Init("TestSystem", false);
            KLB_Init("TestSystem", false);
            KLB_Term();
            EXPECT_FALSE(KLB_IsInitialized());
        });
    });
}

TEST(Term, EndsASessionWithFailedFiles) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string broken = directory.write("broken.json", R"({"a": true} more)");
        const LibrarySession session;
        observer.expectError<std::domain_error>(
            loadErrorText("ParseErrorDocumentRootNotSingular", broken, 12),
            [&] { registerPlainFile("token", broken); });
        observer.expectSilence([] {
            KLB_Term();
            EXPECT_FALSE(KLB_IsInitialized());
        });
    });
}

} // namespace
} // namespace klb::test
