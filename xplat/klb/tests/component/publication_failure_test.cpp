#include "error_mode.h"
#include "lock_probe.h"
#include "publication.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace klb::test {
namespace {

using References = std::map<std::string, int>;

/// The steps in which the library calls the host to publish the manager, references aside.
struct Step {
    const char* call;
    bool givesWhatIsUsed; ///< Whether it must give an interface.
    References held;      ///< What is still held when the step fails.
};

const References kNothing = {};
const References kIdentity = {{"identity", 1}};
const References kIdentityAndSink = {{"identity", 1}, {"sink", 1}};

const std::vector<Step> kStepsForAnUnknownClass = {
    {"host.QueryInterface(IOBXUnknown)", false, kNothing},
    {"host.QueryInterface(IOBXMessageSink)", false, kIdentity},
    {"host.QueryInterface(IOBXComponentRegistry)", true, kIdentityAndSink},
    {"components.FindDefinition(manager class, IOBXComponentDefinition)", false, kIdentityAndSink},
    {"components.CreateInstance(definition class, null, IOBXComponentDefinition)", true,
     kIdentityAndSink},
    {"created.Define(manager class, manager category, 1, 0, manager registration, KLBManager)",
     false, kIdentityAndSink},
    {"components.QueryInterface(IOBXDefinitionRegistration)", true, kIdentityAndSink},
    {"registration.Register(created)", false, kIdentityAndSink},
    {"host.QueryInterface(IOBXSingletonRegistry)", true, kIdentityAndSink},
    {"singletons.RegisterSingleton(manager class, manager registration, object)", false,
     kIdentityAndSink},
};

const std::vector<Step> kStepsForAKnownClass = {
    {"host.QueryInterface(IOBXUnknown)", false, kNothing},
    {"host.QueryInterface(IOBXMessageSink)", false, kIdentity},
    {"host.QueryInterface(IOBXComponentRegistry)", true, kIdentityAndSink},
    {"components.FindDefinition(manager class, IOBXComponentDefinition)", false, kIdentityAndSink},
    {"host.QueryInterface(IOBXSingletonRegistry)", true, kIdentityAndSink},
    {"singletons.RegisterSingleton(manager class, manager registration, object)", false,
     kIdentityAndSink},
};

Calls firstCalls(const std::vector<Step>& steps, std::size_t count) {
    Calls calls;
    for (std::size_t index = 0; index < count; ++index) {
        calls.emplace_back(steps[index].call);
    }
    return calls;
}

/// A host that fails in each step in turn.
template <class Expect>
void failInEachStep(bool isClassKnown, const Answer& failure, bool onlyWhereUsed, Expect&& expect) {
    const std::vector<Step>& steps = isClassKnown ? kStepsForAKnownClass : kStepsForAnUnknownClass;
    inBothErrorModes([&](ErrorObserver& observer) {
        for (std::size_t index = 0; index < steps.size(); ++index) {
            const Step& step = steps[index];
            if (onlyWhereUsed && !step.givesWhatIsUsed) {
                continue;
            }
            SCOPED_TRACE(std::string(isClassKnown ? "known class: " : "unknown class: ") +
                         step.call);
            FakeFramework framework;
            if (isClassKnown) {
                framework.knowManagerClass();
            }
            framework.answer(step.call, failure);
            KLB_Init("TestSystem", false);

            observer.expectSilence(
                [&] { expect([&framework] { KLB_InitOBX(framework.host()); }); });
            EXPECT_EQ(framework.takeCalls(), firstCalls(steps, index + 1));
            EXPECT_EQ(framework.references(), step.held);
            EXPECT_EQ(framework.findSingleton(KLB_ManagerClassId), nullptr);
            EXPECT_EQ(KLB_IsOBXInitialized(), index > 0);
            EXPECT_TRUE(KLB_IsInitialized());
            EXPECT_TRUE(lockIsFree());

            // With the identity the library counts as published: it is not tried again.
            framework.answerEverything();
            observer.expectSilence([&] { KLB_InitOBX(framework.host()); });
            const Calls again = framework.takeCalls();
            EXPECT_EQ(again, index == 0 ? firstCalls(steps, steps.size()) : Calls{});

            observer.expectSilence([] { KLB_Term(); });
            EXPECT_FALSE(KLB_IsInitialized());
            EXPECT_EQ(framework.takeCalls(),
                      (Calls{"identity.QueryInterface(IOBXSingletonRegistry)",
                             "singletons.UnregisterSingleton(manager class)"}));
            EXPECT_EQ(framework.references(), kNothing);
        }
    });
}

void refuseEachStep(uint32_t code) {
    SCOPED_TRACE(code);
    for (const bool isClassKnown : {false, true}) {
        failInEachStep(isClassKnown, refusal(code), false,
                       [code](const auto& publish) { expectThrowsCode(code, publish); });
    }
}

TEST(InitObxFailure, ARefusedStepThrowsItsCode) {
    refuseEachStep(0x80004005);
}

TEST(InitObxFailure, EveryCodeWithTheTopBitIsARefusal) {
    refuseEachStep(0x80000000);
    refuseEachStep(0xFFFFFFFF);
    refuseEachStep(0x80000005);
}

TEST(InitObxFailure, NotRegisteredIsARefusalInEveryStepButOne) {
    for (const Step& step : kStepsForAnUnknownClass) {
        SCOPED_TRACE(step.call);
        FakeFramework framework;
        framework.answer(step.call, refusal(kNotRegistered));
        const LibrarySession library;
        if (std::string(step.call).starts_with("components.FindDefinition")) {
            EXPECT_NO_THROW(KLB_InitOBX(framework.host()));
            EXPECT_NE(framework.findSingleton(KLB_ManagerClassId), nullptr);
        } else {
            expectThrowsCode(kNotRegistered, [&] { KLB_InitOBX(framework.host()); });
            EXPECT_EQ(framework.findSingleton(KLB_ManagerClassId), nullptr);
        }
    }
}

TEST(InitObxFailure, WhatARefusedStepStoresIsNoReference) {
    for (const bool isClassKnown : {false, true}) {
        failInEachStep(isClassKnown, refusalThatStores(0x80004005), false,
                       [](const auto& publish) { expectThrowsCode(0x80004005, publish); });
    }
}

TEST(InitObxFailure, WhatIsStoredForAnUnknownClassIsNoReference) {
    FakeFramework framework;
    framework.answer("components.FindDefinition", refusalThatStores(kNotRegistered));
    {
        const LibrarySession library;
        EXPECT_NO_THROW(KLB_InitOBX(framework.host()));
        EXPECT_EQ(framework.takeCalls(),
                  firstCalls(kStepsForAnUnknownClass, kStepsForAnUnknownClass.size()));
        EXPECT_EQ(framework.references(), kIdentityAndSink);
    }
    EXPECT_EQ(framework.references(), kNothing);
}

TEST(InitObxFailure, AnInterfaceOfNullThrowsItsOwnCode) {
    for (const Answer& without : {nullInterface(), nothingStored()}) {
        for (const bool isClassKnown : {false, true}) {
            failInEachStep(isClassKnown, without, true,
                           [](const auto& publish) { expectThrowsCode(kNullFromHost, publish); });
        }
    }
}

TEST(InitObxFailure, WhatTheHostThrowsComesOutUnchanged) {
    for (const bool isClassKnown : {false, true}) {
        failInEachStep(isClassKnown, exception(), false,
                       [](const auto& publish) { expectThrowsHostError(publish); });
    }
}

TEST(InitObxFailure, TheLibraryGoesOnWorking) {
    FakeFramework framework;
    framework.answer("singletons.RegisterSingleton", refusal(0x80004005));
    const LibrarySession library;
    KLB_RegisterToggle("/before", true, "token");
    expectThrowsCode(0x80004005, [&] { KLB_InitOBX(framework.host()); });
    KLB_RegisterToggle("/after", true, "token");
    EXPECT_TRUE(KLB_GetToggle("/before"));
    EXPECT_TRUE(KLB_GetToggle("/after"));
}

TEST(InitObxFailure, TheClassDefinedBeforeTheFailureStaysDefined) {
    FakeFramework framework;
    framework.answer("singletons.RegisterSingleton", refusal(0x80004005));
    KLB_Init("TestSystem", false);
    expectThrowsCode(0x80004005, [&] { KLB_InitOBX(framework.host()); });
    KLB_Term();
    EXPECT_TRUE(framework.knowsClass(KLB_ManagerClassId));

    framework.answerEverything();
    framework.takeCalls();
    const LibrarySession library;
    KLB_InitOBX(framework.host());
    EXPECT_EQ(framework.takeCalls(), firstCalls(kStepsForAKnownClass, kStepsForAKnownClass.size()));
}

} // namespace
} // namespace klb::test
