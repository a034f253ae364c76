#include "error_mode.h"
#include "lock_probe.h"
#include "publication.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace klb::test {
namespace {

using References = std::map<std::string, int>;

const Calls kWithdrawal = {
    "identity.QueryInterface(IOBXSingletonRegistry)",
    "singletons.UnregisterSingleton(manager class)",
    "singletons.Release()",
    "sink.Release()",
    "identity.Release()",
};

TEST(Withdrawal, UnregistersTheSingletonAndReleasesTheSinkThenTheIdentity) {
    inBothErrorModes([](ErrorObserver& observer) {
        FakeFramework framework;
        KLB_Init("TestSystem", false);
        KLB_InitOBX(framework.host());
        framework.takeAllCalls();
        observer.expectSilence([] { KLB_Term(); });
        EXPECT_EQ(framework.takeAllCalls(), kWithdrawal);
        EXPECT_EQ(framework.references(), References{});
        EXPECT_EQ(framework.findSingleton(KLB_ManagerClassId), nullptr);
        EXPECT_TRUE(framework.knowsClass(KLB_ManagerClassId));
        EXPECT_FALSE(KLB_IsInitialized());

        KLB_Term();
        EXPECT_EQ(framework.takeAllCalls(), Calls{});
    });
}

TEST(Withdrawal, WithoutASinkReleasesTheIdentityOnly) {
    FakeFramework framework;
    framework.answer("host.QueryInterface(IOBXMessageSink)", nullInterface());
    KLB_Init("TestSystem", false);
    KLB_InitOBX(framework.host());
    framework.takeAllCalls();
    KLB_Term();
    Calls expected = kWithdrawal;
    std::erase(expected, "sink.Release()");
    EXPECT_EQ(framework.takeAllCalls(), expected);
    EXPECT_EQ(framework.references(), References{});
}

TEST(Withdrawal, ALibraryThatWasNotPublishedCallsNobody) {
    FakeFramework framework;
    KLB_Init("TestSystem", false);
    KLB_Term();
    EXPECT_EQ(framework.takeAllCalls(), Calls{});
}

TEST(Withdrawal, InitAfterwardsStartsUnpublishedAndPublishesAnew) {
    FakeFramework framework;
    KLB_Init("TestSystem", false);
    KLB_InitOBX(framework.host());
    KLB_Term();
    framework.takeAllCalls();

    KLB_Init("TestSystem", false);
    EXPECT_FALSE(KLB_IsOBXInitialized());
    EXPECT_EQ(framework.takeAllCalls(), Calls{});
    KLB_InitOBX(framework.host());
    EXPECT_EQ(framework.takeCalls().back(),
              "singletons.RegisterSingleton(manager class, manager registration, object)");
    KLB_Term();
    EXPECT_EQ(framework.takeAllCalls(), kWithdrawal);

    FakeFramework other;
    KLB_Init("TestSystem", false);
    KLB_InitOBX(other.host());
    KLB_Term();
    EXPECT_EQ(framework.takeAllCalls(), Calls{});
    EXPECT_EQ(other.references(), References{});
}

/// A withdrawal that fails, which calls it has made then, and the code that it throws; 0 for the
/// host's own exception.
struct Failure {
    const char* name;
    const char* call;
    Answer answer;
    std::size_t calls;
    uint32_t code;
};

const std::vector<Failure> kFailures = {
    {"no singleton registry", "identity.QueryInterface", refusal(0x80004005), 1, 0x80004005},
    {"a stray singleton registry", "identity.QueryInterface", refusalThatStores(0x80004005), 1,
     0x80004005},
    {"a singleton registry of null", "identity.QueryInterface", nullInterface(), 1, kNullFromHost},
    {"no singleton registry stored", "identity.QueryInterface", nothingStored(), 1, kNullFromHost},
    {"a query that throws", "identity.QueryInterface", exception(), 1, 0},
    {"a singleton not unregistered", "singletons.UnregisterSingleton", refusal(0xFFFFFFFF), 2,
     0xFFFFFFFF},
    {"a singleton not registered", "singletons.UnregisterSingleton", refusal(kNotRegistered), 2,
     kNotRegistered},
    {"a registry that throws", "singletons.UnregisterSingleton", exception(), 2, 0},
};

void expectFailure(const Failure& failure) {
    if (failure.code == 0) {
        expectThrowsHostError([] { KLB_Term(); });
    } else {
        expectThrowsCode(failure.code, [] { KLB_Term(); });
    }
}

TEST(Withdrawal, WhenItFailsTheManagerLivesAndTermCanBeRepeated) {
    inBothErrorModes([](ErrorObserver& observer) {
        for (const Failure& failure : kFailures) {
            SCOPED_TRACE(failure.name);
            FakeFramework framework;
            KLB_Init("TestSystem", false);
            KLB_RegisterToggle("/on", true, "token");
            KLB_InitOBX(framework.host());
            framework.takeAllCalls();
            framework.answer(failure.call, failure.answer);

            for (int attempt = 1; attempt <= 2; ++attempt) {
                SCOPED_TRACE(attempt);
                observer.expectSilence([&] { expectFailure(failure); });
                EXPECT_TRUE(lockIsFree());
                EXPECT_EQ(framework.takeCalls(),
                          Calls(kWithdrawal.begin(),
                                kWithdrawal.begin() + static_cast<std::ptrdiff_t>(failure.calls)));
                EXPECT_EQ(framework.references(), (References{{"identity", 1}, {"sink", 1}}));
                EXPECT_TRUE(KLB_IsInitialized());
                EXPECT_TRUE(KLB_IsOBXInitialized());
                EXPECT_TRUE(KLB_GetToggle("/on"));
                IOBXUnknown* const object = framework.findSingleton(KLB_ManagerClassId);
                ASSERT_NE(object, nullptr);
                uint32_t value = 7;
                EXPECT_EQ(
                    queryFor<IKLBManager>(object, KLB_IID_IKLBManager)->GetToggle("/on", &value),
                    0);
                EXPECT_EQ(value, 1U);
            }

            framework.answerEverything();
            framework.takeAllCalls();
            observer.expectSilence([] { KLB_Term(); });
            EXPECT_EQ(framework.takeAllCalls(), kWithdrawal);
            EXPECT_EQ(framework.references(), References{});
            EXPECT_FALSE(KLB_IsInitialized());
        }
    });
}

TEST(Withdrawal, IsTriedAfterAPublicationThatFailed) {
    FakeFramework framework;
    framework.answer("singletons.RegisterSingleton", refusal(0x80004005));
    framework.answer("singletons.UnregisterSingleton", refusal(kNotRegistered));
    KLB_Init("TestSystem", false);
    expectThrowsCode(0x80004005, [&] { KLB_InitOBX(framework.host()); });
    expectThrowsCode(kNotRegistered, [] { KLB_Term(); });
    EXPECT_TRUE(KLB_IsInitialized());
    framework.answerEverything();
    KLB_Term();
    EXPECT_FALSE(KLB_IsInitialized());
    EXPECT_EQ(framework.references(), References{});
}

TEST(Withdrawal, ComesWhileTheManagerStillAnswers) {
    FakeFramework framework;
    KLB_Init("TestSystem", false);
    KLB_InitOBX(framework.host());
    Calls duringManagersLife;
    framework.onCall([&](const std::string& call) {
        if (call.starts_with("singletons.UnregisterSingleton")) {
            // The operations without a lock are all that the host may call here.
            IOBXUnknown* const object = framework.lastObject();
            EXPECT_EQ(static_cast<IOBXUnknown*>(queryFor<IKLBManager>(object, KLB_IID_IKLBManager)),
                      object);
            duringManagersLife.push_back(call);
        }
    });
    KLB_Term();
    EXPECT_EQ(duringManagersLife, Calls{"singletons.UnregisterSingleton(manager class)"});
}

#if defined(__GLIBC__)

std::size_t bytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST(Withdrawal, ReleasesTheHostWhenTheRecordsAreGone) {
    constexpr std::size_t kKeySize = std::size_t{8} << 20;
    {
        const std::size_t before = bytesInUse();
        const std::string probe(kKeySize, 'x');
        if (bytesInUse() < before + kKeySize) {
            GTEST_SKIP() << "this build's allocator does not tell what it gave out";
        }
    }
    FakeFramework framework;
    KLB_Init("TestSystem", false);
    KLB_InitOBX(framework.host());
    KLB_RegisterToggle(("/" + std::string(kKeySize, 'k')).c_str(), true, "token");
    const std::size_t registered = bytesInUse();
    std::map<std::string, std::size_t> freed;
    framework.onCall([&](const std::string& call) {
        const std::size_t now = bytesInUse();
        freed[call] = registered > now ? registered - now : 0;
    });
    KLB_Term();
    // The tests' own notes take a little of what was freed.
    EXPECT_LT(freed["singletons.UnregisterSingleton(manager class)"], kKeySize / 2);
    EXPECT_GT(freed["sink.Release()"], kKeySize / 2);
    EXPECT_GT(freed["identity.Release()"], kKeySize / 2);
}

#endif

} // namespace
} // namespace klb::test
