#include "error_mode.h"
#include "lock_probe.h"
#include "message_callback_cases.h"
#include "publication.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

namespace klb::test {
namespace {

using References = std::map<std::string, int>;

const Calls kPublicationOfAnUnknownClass = {
    "host.QueryInterface(IOBXUnknown)",
    "host.QueryInterface(IOBXMessageSink)",
    "host.QueryInterface(IOBXComponentRegistry)",
    "components.FindDefinition(manager class, IOBXComponentDefinition)",
    "components.CreateInstance(definition class, null, IOBXComponentDefinition)",
    "created.Define(manager class, manager category, 1, 0, manager registration, KLBManager)",
    "components.QueryInterface(IOBXDefinitionRegistration)",
    "registration.Register(created)",
    "registration.Release()",
    "host.QueryInterface(IOBXSingletonRegistry)",
    "singletons.RegisterSingleton(manager class, manager registration, object)",
    "singletons.Release()",
    "created.Release()",
    "components.Release()",
};

const Calls kPublicationOfAKnownClass = {
    "host.QueryInterface(IOBXUnknown)",
    "host.QueryInterface(IOBXMessageSink)",
    "host.QueryInterface(IOBXComponentRegistry)",
    "components.FindDefinition(manager class, IOBXComponentDefinition)",
    "host.QueryInterface(IOBXSingletonRegistry)",
    "singletons.RegisterSingleton(manager class, manager registration, object)",
    "singletons.Release()",
    "found.Release()",
    "components.Release()",
};

const References kIdentityAndSink = {{"identity", 1}, {"sink", 1}};

TEST(InitObx, DefinesAnUnknownClassAndRegistersTheSingleton) {
    inBothErrorModes([](ErrorObserver& observer) {
        FakeFramework framework;
        const LibrarySession library;
        EXPECT_FALSE(KLB_IsOBXInitialized());
        observer.expectSilence([&] { KLB_InitOBX(framework.host()); });
        EXPECT_TRUE(KLB_IsOBXInitialized());
        EXPECT_EQ(framework.takeAllCalls(), kPublicationOfAnUnknownClass);
        EXPECT_EQ(framework.references(), kIdentityAndSink);
        EXPECT_TRUE(framework.knowsClass(KLB_ManagerClassId));
        EXPECT_TRUE(lockIsFree());
    });
}

TEST(InitObx, RegistersTheSingletonOfAKnownClass) {
    inBothErrorModes([](ErrorObserver& observer) {
        FakeFramework framework;
        framework.knowManagerClass();
        const LibrarySession library;
        observer.expectSilence([&] { KLB_InitOBX(framework.host()); });
        EXPECT_TRUE(KLB_IsOBXInitialized());
        EXPECT_EQ(framework.takeAllCalls(), kPublicationOfAKnownClass);
        EXPECT_EQ(framework.references(), kIdentityAndSink);
    });
}

TEST(InitObx, NeedsNoDefinitionOfAKnownClass) {
    for (const Answer& without : {nullInterface(), nothingStored()}) {
        FakeFramework framework;
        framework.knowManagerClass();
        framework.answer("components.FindDefinition", without);
        const LibrarySession library;
        EXPECT_NO_THROW(KLB_InitOBX(framework.host()));
        Calls expected = kPublicationOfAKnownClass;
        std::erase(expected, "found.Release()");
        EXPECT_EQ(framework.takeAllCalls(), expected);
        EXPECT_EQ(framework.references(), kIdentityAndSink);
    }
}

TEST(InitObx, RegistersThePrimaryFace) {
    const Publication published;
    IOBXUnknown* const object = published.framework.lastObject();
    EXPECT_EQ(static_cast<void*>(object), static_cast<void*>(published.manager));
    EXPECT_EQ(published.framework.findSingleton(KLB_ManagerClassId), object);
}

TEST(InitObx, PositiveCodesAreSuccess) {
    FakeFramework framework;
    for (const std::string& call : kPublicationOfAnUnknownClass) {
        // The class counts as known when its definition is found, whatever the success.
        if (!call.ends_with(".Release()") && !call.starts_with("components.FindDefinition")) {
            framework.answer(call, success(0x7FFFFFFF));
        }
    }
    {
        const LibrarySession library;
        EXPECT_NO_THROW(KLB_InitOBX(framework.host()));
        EXPECT_EQ(framework.takeAllCalls(), kPublicationOfAnUnknownClass);
        EXPECT_EQ(framework.references(), kIdentityAndSink);

        framework.answer("identity.QueryInterface", success(1));
        framework.answer("singletons.UnregisterSingleton", success(1));
        EXPECT_NO_THROW(KLB_Term());
        EXPECT_FALSE(KLB_IsInitialized());
    }
    framework.answer("components.FindDefinition", success(1));
    framework.takeAllCalls();
    const LibrarySession library;
    EXPECT_NO_THROW(KLB_InitOBX(framework.host()));
    EXPECT_EQ(framework.takeAllCalls(), kPublicationOfAKnownClass);
}

TEST(InitObx, ASecondCallIsIgnored) {
    inBothErrorModes([](ErrorObserver& observer) {
        FakeFramework framework;
        FakeFramework other;
        const LibrarySession library;
        KLB_InitOBX(framework.host());
        framework.takeAllCalls();
        observer.expectSilence([&] {
            KLB_InitOBX(framework.host());
            KLB_InitOBX(other.host());
        });
        EXPECT_EQ(framework.takeAllCalls(), Calls{});
        EXPECT_EQ(other.takeAllCalls(), Calls{});
    });
}

TEST(InitObx, ANullArgumentIsRefusedAlsoWhenPublished) {
    inBothErrorModes([](ErrorObserver& observer) {
        FakeFramework framework;
        const LibrarySession library;
        const auto refuse = [&] {
            observer.expectError<std::invalid_argument>("KLB_InitOBX: pHostUnk must not be NULL.",
                                                        [] { KLB_InitOBX(nullptr); });
            EXPECT_TRUE(lockIsFree());
        };
        refuse();
        EXPECT_FALSE(KLB_IsOBXInitialized());
        KLB_InitOBX(framework.host());
        refuse();
        EXPECT_TRUE(KLB_IsOBXInitialized());
    });
}

TEST(InitObx, IsRefusedBeforeInitAndTheHostIsNotCalled) {
    inBothErrorModes([](ErrorObserver& observer) {
        FakeFramework framework;
        for (IOBXUnknown* const host : {framework.host(), static_cast<IOBXUnknown*>(nullptr)}) {
            observer.expectError<std::domain_error>("KLB_InitOBX: KLB_Init must be called first.",
                                                    [&] { KLB_InitOBX(host); });
        }
        EXPECT_EQ(framework.takeAllCalls(), Calls{});
        EXPECT_FALSE(KLB_IsOBXInitialized());
        EXPECT_TRUE(lockIsFree());
    });
}

TEST(InitObx, GoesOnWithoutASink) {
    for (const Answer& without : {nullInterface(), nothingStored()}) {
        FakeFramework framework;
        framework.answer("host.QueryInterface(IOBXMessageSink)", without);
        const LibrarySession library;
        EXPECT_NO_THROW(KLB_InitOBX(framework.host()));
        EXPECT_EQ(framework.takeAllCalls(), kPublicationOfAnUnknownClass);
        EXPECT_EQ(framework.references(), (References{{"identity", 1}}));
        EXPECT_TRUE(KLB_IsOBXInitialized());
    }
}

TEST(InitObx, AnIdentityOfNullIsNoneAndTheRestGoesOn) {
    for (const Answer& without : {nullInterface(), nothingStored()}) {
        FakeFramework framework;
        {
            const LibrarySession library;
            framework.answer("host.QueryInterface(IOBXUnknown)", without);
            EXPECT_NO_THROW(KLB_InitOBX(framework.host()));
            EXPECT_EQ(framework.takeAllCalls(), kPublicationOfAnUnknownClass);
            EXPECT_EQ(framework.references(), (References{{"sink", 1}}));
            EXPECT_FALSE(KLB_IsOBXInitialized());
        }
        // Without an identity there is nobody to ask for the withdrawal.
        EXPECT_EQ(framework.takeAllCalls(), Calls{"sink.Release()"});
        EXPECT_EQ(framework.references(), References{});
    }
}

TEST(InitObx, ASinkHeldFromBeforeIsReleasedBeforeTheHostIsAskedAgain) {
    FakeFramework framework;
    const LibrarySession library;
    framework.answer("host.QueryInterface(IOBXUnknown)", nullInterface());
    KLB_InitOBX(framework.host());
    framework.takeAllCalls();

    KLB_InitOBX(framework.host());
    Calls again = kPublicationOfAKnownClass;
    again.insert(again.begin() + 1, "sink.Release()");
    EXPECT_EQ(framework.takeAllCalls(), again);
    EXPECT_EQ(framework.references(), (References{{"sink", 1}}));

    framework.answerEverything();
    framework.answer("host.QueryInterface(IOBXMessageSink)", nullInterface());
    KLB_InitOBX(framework.host());
    EXPECT_EQ(framework.takeAllCalls(), again);
    EXPECT_EQ(framework.references(), (References{{"identity", 1}}));
    EXPECT_TRUE(KLB_IsOBXInitialized());
}

TEST(InitObx, ASinkHeldFromBeforeStaysWhenTheIdentityIsRefused) {
    FakeFramework framework;
    const LibrarySession library;
    framework.answer("host.QueryInterface(IOBXUnknown)", nullInterface());
    KLB_InitOBX(framework.host());
    framework.takeAllCalls();

    framework.answer("host.QueryInterface(IOBXUnknown)", refusal(0x80004005));
    expectThrowsCode(0x80004005, [&] { KLB_InitOBX(framework.host()); });
    EXPECT_EQ(framework.takeAllCalls(), Calls{"host.QueryInterface(IOBXUnknown)"});
    EXPECT_EQ(framework.references(), (References{{"sink", 1}}));
    EXPECT_FALSE(KLB_IsOBXInitialized());
}

TEST(InitObx, CallsTheHostUnderTheLock) {
    FakeFramework framework;
    std::optional<Entrant> entrant;
    int calls = 0;
    framework.onCall([&](const std::string& call) {
        SCOPED_TRACE(call);
        ++calls;
        if (!entrant) {
            entrant.emplace([] { KLB_IsInitialized(); });
        }
        EXPECT_FALSE(entrant->throughWithin(std::chrono::milliseconds(30)));
    });
    KLB_Init("TestSystem", false);
    KLB_InitOBX(framework.host());
    EXPECT_TRUE(entrant->throughWithin(kPatience));
    EXPECT_EQ(calls, static_cast<int>(kPublicationOfAnUnknownClass.size()));

    entrant.reset();
    calls = 0;
    KLB_Term();
    EXPECT_TRUE(entrant->throughWithin(kPatience));
    EXPECT_EQ(calls, 5);
    framework.onCall(nullptr);
}

TEST(InitObx, TheHostMayUseTheSingletonProtocolMeanwhile) {
    FakeFramework framework;
    IOBXSingleton* singleton = nullptr;
    framework.onCall([&](const std::string& call) {
        if (call.starts_with("singletons.RegisterSingleton")) {
            IOBXUnknown* const object = framework.lastObject();
            EXPECT_EQ(object->AddRef(), 1U);
            singleton = queryFor<IOBXSingleton>(object, KLB_IID_IOBXSingleton);
            EXPECT_EQ(singleton->InitializeSingleton(), 0);
        } else if (call.starts_with("singletons.UnregisterSingleton")) {
            EXPECT_EQ(singleton->GetSingletonState(), 2U);
            EXPECT_EQ(singleton->FinalizeSingleton(), 0);
            EXPECT_EQ(singleton->GetSingletonState(), 4U);
            EXPECT_EQ(singleton->Release(), 1U);
            singleton = nullptr;
        }
    });
    KLB_Init("TestSystem", false);
    KLB_InitOBX(framework.host());
    ASSERT_NE(singleton, nullptr);
    EXPECT_EQ(singleton->GetSingletonState(), 2U);
    KLB_Term();
    EXPECT_EQ(singleton, nullptr);
}

TEST(IsObxInitialized, FollowsTheIdentity) {
    FakeFramework framework;
    EXPECT_FALSE(KLB_IsOBXInitialized());
    KLB_Init("TestSystem", false);
    EXPECT_FALSE(KLB_IsOBXInitialized());
    KLB_InitOBX(framework.host());
    EXPECT_TRUE(KLB_IsOBXInitialized());
    KLB_Init("Other", false);
    EXPECT_TRUE(KLB_IsOBXInitialized());
    KLB_Term();
    EXPECT_FALSE(KLB_IsOBXInitialized());
    KLB_Init("TestSystem", false);
    EXPECT_FALSE(KLB_IsOBXInitialized());
    KLB_Term();
    EXPECT_FALSE(KLB_IsOBXInitialized());
}

} // namespace
} // namespace klb::test
