#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "lock_probe.h"
#include "message_callback_cases.h"
#include "message_recorder.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

namespace klb::test {
namespace {

const char* const kNullSystemId = "KLB_Init: sysID must not be NULL.";
const char* const kEmptyKey = "getToggle: key cannot be an empty string.";
const char* const kUnknownKey = "getToggle: key, /unknown, was not registered. Returning false.";
const char* const kGetBeforeInit = "KLB_RegisterToggleFile: KLB_Init must be called first.";

using Messages = std::vector<Message>;

int g_firstCalls = 0;
int g_secondCalls = 0;

int countFirst(KLB_MessageType /*type*/, const char* /*text*/) {
    return ++g_firstCalls;
}

int countSecond(KLB_MessageType /*type*/, const char* /*text*/) {
    return ++g_secondCalls;
}

int g_result = 0;

int answerResult(KLB_MessageType /*type*/, const char* /*text*/) {
    return g_result;
}

// No descendant of std::exception, and known to this program only.
struct HostFailure {
    KLB_MessageType type;
    std::string text;
};

[[noreturn]] int throwHostFailure(KLB_MessageType type, const char* text) {
    throw HostFailure{type, text};
}

[[noreturn]] int throwLogicError(KLB_MessageType /*type*/, const char* text) {
    throw std::logic_error(std::string("host: ") + text);
}

template <class Call>
void expectHostFailure(KLB_MessageType type, const std::string& text, Call&& call) {
    try {
        call();
        ADD_FAILURE() << "nothing was thrown, expected the callback's failure: " << text;
    } catch (const HostFailure& caught) {
        EXPECT_EQ(caught.type, type);
        EXPECT_EQ(caught.text, text);
    }
}

class InitMessageProc : public testing::Test {
protected:
    InitMessageProc() {
        g_firstCalls = 0;
        g_secondCalls = 0;
    }
};

TEST_F(InitMessageProc, WorksBeforeInit) {
    MessageRecorder recorder;
    EXPECT_FALSE(KLB_GetToggle("/a"));
    EXPECT_EQ(recorder.take(), Messages{error(kGetBeforeInit)});
    KLB_Init(nullptr, true);
    EXPECT_EQ(recorder.take(), Messages{error(kNullSystemId)});
    EXPECT_FALSE(KLB_IsInitialized());
}

TEST_F(InitMessageProc, WorksAfterInit) {
    const LibrarySession session;
    EXPECT_THROW(KLB_GetToggle(""), std::invalid_argument);
    MessageRecorder recorder;
    EXPECT_FALSE(KLB_GetToggle(""));
    EXPECT_EQ(recorder.take(), Messages{error(kEmptyKey)});
}

TEST_F(InitMessageProc, SurvivesInitAndTerm) {
    MessageRecorder recorder;
    for (int round = 0; round < 3; ++round) {
        {
            const LibrarySession session;
            KLB_GetToggle("");
            EXPECT_EQ(recorder.take(), Messages{error(kEmptyKey)});
        }
        EXPECT_FALSE(KLB_IsInitialized());
        KLB_GetToggle("");
        EXPECT_EQ(recorder.take(), Messages{error(kGetBeforeInit)});
    }
}

TEST_F(InitMessageProc, InstallingNothingSurvivesInitAndTerm) {
    KLB_InitMessageProc(&countFirst);
    KLB_InitMessageProc(nullptr);
    {
        const LibrarySession session;
        EXPECT_THROW(KLB_GetToggle(""), std::invalid_argument);
    }
    EXPECT_THROW(KLB_GetToggle(""), std::domain_error);
    EXPECT_EQ(g_firstCalls, 0);
}

TEST_F(InitMessageProc, ReplacesTheEarlierCallback) {
    const LibrarySession session;
    const ScopedCallback first(&countFirst);
    KLB_GetToggle("");
    EXPECT_EQ(g_firstCalls, 1);

    KLB_InitMessageProc(&countSecond);
    KLB_GetToggle("");
    KLB_GetToggle("/unknown");
    EXPECT_EQ(g_firstCalls, 1);
    EXPECT_EQ(g_secondCalls, 2);

    KLB_InitMessageProc(&countFirst);
    KLB_GetToggle("");
    EXPECT_EQ(g_firstCalls, 2);
    EXPECT_EQ(g_secondCalls, 2);
}

TEST_F(InitMessageProc, SameCallbackAgainCallsItOnce) {
    const LibrarySession session;
    const ScopedCallback first(&countFirst);
    KLB_InitMessageProc(&countFirst);
    KLB_GetToggle("");
    EXPECT_EQ(g_firstCalls, 1);
}

TEST_F(InitMessageProc, NullMakesTheNextErrorThrow) {
    const LibrarySession session;
    {
        const ScopedCallback first(&countFirst);
        EXPECT_NO_THROW(KLB_GetToggle(""));
        EXPECT_EQ(g_firstCalls, 1);
    }
    ErrorObserver observer(ErrorMode::Exception);
    observer.expectError<std::invalid_argument>(kEmptyKey, [] { KLB_GetToggle(""); });
    observer.expectError<std::invalid_argument>(kNullSystemId, [] { KLB_Init(nullptr, false); });
    EXPECT_EQ(g_firstCalls, 1);
}

TEST_F(InitMessageProc, NullTwiceIsSilent) {
    EXPECT_NO_THROW(KLB_InitMessageProc(nullptr));
    EXPECT_NO_THROW(KLB_InitMessageProc(nullptr));
    EXPECT_THROW(KLB_GetToggle("/a"), std::domain_error);
}

TEST(MessageCallback, EachErrorIsReportedOnceOrThrown) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        for (const ErrorCase& each : allErrors(directory)) {
            SCOPED_TRACE(each.name + ": " + each.text);
            std::optional<CaseSession> session;
            observer.expectSilence([&] { session.emplace(each); });
            switch (each.thrown) {
            case Thrown::InvalidArgument:
                observer.expectError<std::invalid_argument>(each.text, each.call);
                break;
            case Thrown::DomainError:
                observer.expectError<std::domain_error>(each.text, each.call);
                break;
            case Thrown::AlwaysInvalidArgument:
                observer.expectAlwaysThrows<std::invalid_argument>(each.text, each.call);
                break;
            }
            EXPECT_EQ(KLB_IsInitialized(), each.initialised);
        }
    });
}

TEST(MessageCallback, WarningHasItsOwnTypeAndIsNeverThrown) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession session;
        observer.expectMessages({warning(kUnknownKey)},
                                [] { EXPECT_FALSE(KLB_GetToggle("/unknown")); });
        observer.expectMessages({warning(kUnknownKey)},
                                [] { EXPECT_FALSE(KLB_GetDynamicToggle("/unknown")); });
    });
}

TEST(MessageCallback, ResultIsIgnored) {
    const TempDirectory directory;
    const ScopedCallback callback(&answerResult);
    for (const int result :
         {0, 1, -1, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        SCOPED_TRACE(result);
        g_result = result;
        EXPECT_NO_THROW(KLB_Init(nullptr, false));
        EXPECT_FALSE(KLB_IsInitialized());
        EXPECT_FALSE(KLB_GetToggle("/a"));

        const LibrarySession session;
        const std::string small = directory.write("small.json", "{}");
        EXPECT_NO_THROW(registerPlainFile("token", small));
        EXPECT_TRUE(KLB_IsToggleFileRegistered("token"));
        EXPECT_FALSE(KLB_IsToggleFileRegistered(nullptr));
        EXPECT_FALSE(KLB_GetToggle(""));
        EXPECT_FALSE(KLB_GetToggle("/unknown"));
        EXPECT_NO_THROW(KLB_SetDynamicToggle("/unknown", true));
    }
}

TEST(MessageCallback, RunsOnTheThreadOfTheCall) {
    static std::thread::id seen;
    const LibrarySession session;
    const ScopedCallback callback([](KLB_MessageType, const char*) {
        seen = std::this_thread::get_id();
        return 0;
    });
    KLB_GetToggle("");
    EXPECT_EQ(seen, std::this_thread::get_id());

    std::thread::id other;
    std::thread([&other] {
        other = std::this_thread::get_id();
        KLB_GetToggle("");
    }).join();
    EXPECT_EQ(seen, other);
}

TEST(MessageCallback, WhatItThrowsLeavesTheCallThatMetTheError) {
    const TempDirectory directory;
    for (const ErrorCase& each : allErrors(directory)) {
        if (each.thrown == Thrown::AlwaysInvalidArgument) {
            continue; // never reaches the callback
        }
        SCOPED_TRACE(each.name + ": " + each.text);
        const CaseSession session(each);
        {
            const ScopedCallback callback(&throwHostFailure);
            expectHostFailure(KLB_MessageType_Error, each.text, each.call);
        }
        EXPECT_TRUE(lockIsFree());
        EXPECT_EQ(KLB_IsInitialized(), each.initialised);
    }
}

TEST(MessageCallback, WhatItThrowsLeavesInitAndTheWarningToo) {
    const ScopedCallback callback(&throwHostFailure);
    expectHostFailure(KLB_MessageType_Error, kNullSystemId, [] { KLB_Init(nullptr, true); });
    EXPECT_TRUE(lockIsFree());
    EXPECT_FALSE(KLB_IsInitialized());

    const LibrarySession session;
    expectHostFailure(KLB_MessageType_Warning, kUnknownKey, [] { KLB_GetToggle("/unknown"); });
    EXPECT_TRUE(lockIsFree());
    expectHostFailure(KLB_MessageType_Warning, kUnknownKey,
                      [] { KLB_GetDynamicToggle("/unknown"); });
    EXPECT_TRUE(lockIsFree());
}

TEST(MessageCallback, StandardExceptionsPassUnchanged) {
    const LibrarySession session;
    const ScopedCallback callback(&throwLogicError);
    try {
        KLB_GetToggle("");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::exception& caught) {
        EXPECT_EQ(std::string(typeid(caught).name()), typeid(std::logic_error).name());
        EXPECT_EQ(std::string(caught.what()), std::string("host: ") + kEmptyKey);
    }
    EXPECT_TRUE(lockIsFree());
}

TEST(MessageCallback, AfterItThrewTheLibraryWorksOn) {
    const TempDirectory directory;
    const std::string good = directory.write("good.json", documentWith(R"("features":{"a":true})"));
    const std::string broken = directory.write("broken.json", "{}");
    const LibrarySession session;
    {
        const ScopedCallback callback(&throwHostFailure);
        expectHostFailure(KLB_MessageType_Error, loadErrorText("FileTooSmall", broken),
                          [&] { registerPlainFile("broken", broken); });
        expectHostFailure(KLB_MessageType_Error, ownedFileText("second"),
                          [&] { registerPlainFile("second", broken); });
    }
    MessageRecorder recorder;
    EXPECT_TRUE(KLB_IsToggleFileRegistered("broken"));
    EXPECT_TRUE(KLB_IsToggleFileRegistered("second"));
    registerPlainFile("broken", broken);
    registerPlainFile("good", good);
    EXPECT_TRUE(registeredValue("/a", false, "good"));
    EXPECT_EQ(recorder.take(), Messages{});
}

} // namespace
} // namespace klb::test
