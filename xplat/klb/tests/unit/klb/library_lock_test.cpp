#include "klb/library_state.h"

#include "klb.h"

#include <gtest/gtest.h>

#include <mutex>
#include <stdexcept>
#include <thread>

namespace klb {
namespace {

/// Whether another thread could take the library lock now.
bool lockIsFree() {
    bool free = false;
    std::thread([&free] {
        std::unique_lock lock(libraryState().lock, std::try_to_lock);
        free = lock.owns_lock();
    }).join();
    return free;
}

bool freeDuringCallback = true;

int observeLock(KLB_MessageType, const char*) {
    freeDuringCallback = lockIsFree();
    return 0;
}

int throwError(KLB_MessageType, const char*) {
    throw std::runtime_error("from the callback");
}

struct Call {
    const char* name;
    void (*call)();
    bool silentBeforeInit = false;
};

// One call of every export that can fail.
const Call kBadCalls[] = {
    {"KLB_SetOverridePath", [] { KLB_SetOverridePath(nullptr); }},
    {"KLB_SetCertificateData", [] { KLB_SetCertificateData(""); }},
    {"KLB_InitOBX", [] { KLB_InitOBX(nullptr); }},
    {"KLB_RegisterToggleFile",
     [] { KLB_RegisterToggleFile(KLB_ToggleFileType_Invalid, nullptr, nullptr); }},
    {"KLB_IsToggleFileRegistered", [] { KLB_IsToggleFileRegistered(nullptr); }, true},
    {"KLB_RegisterToggle", [] { KLB_RegisterToggle(nullptr, true, nullptr); }},
    {"KLB_RegisterDynamicToggle", [] { KLB_RegisterDynamicToggle(nullptr, true, nullptr); }},
    {"KLB_IsToggleRegistered", [] { KLB_IsToggleRegistered(nullptr); }, true},
    {"KLB_IsDynamicToggleRegistered", [] { KLB_IsDynamicToggleRegistered(nullptr); }, true},
    {"KLB_GetToggle", [] { KLB_GetToggle(nullptr); }},
    {"KLB_GetDynamicToggle", [] { KLB_GetDynamicToggle(nullptr); }},
    {"KLB_SetDynamicToggle", [] { KLB_SetDynamicToggle(nullptr, true); }},
    {"KLB_AddToggleComment", [] { KLB_AddToggleComment(nullptr, nullptr); }},
};

class LibraryLock : public testing::Test {
protected:
    void TearDown() override {
        KLB_InitMessageProc(nullptr);
        KLB_Term();
    }
};

TEST_F(LibraryLock, IsHeldWhileTheCallbackRuns) {
    KLB_InitMessageProc(&observeLock);
    freeDuringCallback = true;
    KLB_GetToggle("/before/init");
    EXPECT_FALSE(freeDuringCallback);

    KLB_Init("System", false);
    freeDuringCallback = true;
    KLB_GetToggle("/unknown");
    EXPECT_FALSE(freeDuringCallback);
    EXPECT_TRUE(lockIsFree());
}

TEST_F(LibraryLock, IsNotTakenForTheNullCheckOfInit) {
    KLB_InitMessageProc(&observeLock);
    freeDuringCallback = false;
    KLB_Init(nullptr, false);
    EXPECT_TRUE(freeDuringCallback);
}

TEST_F(LibraryLock, IsFreeAfterEveryThrow) {
    for (const bool initialized : {false, true}) {
        if (initialized) {
            KLB_Init("System", false);
        }
        for (const Call& bad : kBadCalls) {
            SCOPED_TRACE(bad.name);
            bool thrown = false;
            try {
                bad.call();
            } catch (const std::exception&) {
                thrown = true;
            }
            EXPECT_EQ(thrown, initialized || !bad.silentBeforeInit);
            EXPECT_TRUE(lockIsFree());
        }
    }
}

TEST_F(LibraryLock, IsFreeAfterTheCallbackThrew) {
    KLB_Init("System", false);
    KLB_InitMessageProc(&throwError);
    for (const Call& bad : kBadCalls) {
        SCOPED_TRACE(bad.name);
        EXPECT_THROW(bad.call(), std::exception);
        EXPECT_TRUE(lockIsFree());
    }
}

} // namespace
} // namespace klb
