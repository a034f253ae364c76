#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "lock_probe.h"
#include "message_callback_cases.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace klb::test {
namespace {

using std::chrono::milliseconds;

// How long a call is watched that must not come through. A call that a busy machine delays for
// longer goes unnoticed; the unit test of the library lock asks the lock itself.
constexpr milliseconds kWatch{30};

// What the callback below saw: a call made by another thread while the callback ran.
std::optional<Entrant> g_entrant;
bool g_enteredDuringCallback = false;

int watchTheLock(KLB_MessageType /*type*/, const char* /*text*/) {
    g_entrant.emplace([] { KLB_IsInitialized(); });
    g_enteredDuringCallback = g_entrant->throughWithin(kWatch);
    return 0;
}

/// A callback that stays inside until it is let go, and tells when it was entered.
class BlockingCallback {
public:
    BlockingCallback() {
        calls() = 0;
        entered() = std::promise<void>();
        isEntered_ = entered().get_future();
        gate() = released_.get_future().share();
        callback_.emplace(&block);
    }
    ~BlockingCallback() {
        release();
    }
    BlockingCallback(const BlockingCallback&) = delete;
    BlockingCallback& operator=(const BlockingCallback&) = delete;

    bool isEntered() const {
        return isEntered_.wait_for(kPatience) == std::future_status::ready;
    }
    void release() {
        if (!isReleased_) {
            isReleased_ = true;
            released_.set_value();
        }
    }
    static std::atomic<int>& calls() {
        static std::atomic<int> count{0};
        return count;
    }

private:
    static std::promise<void>& entered() {
        static std::promise<void> promise;
        return promise;
    }
    static std::shared_future<void>& gate() {
        static std::shared_future<void> future;
        return future;
    }
    // Only the first call is kept inside.
    static int block(KLB_MessageType /*type*/, const char* /*text*/) {
        if (calls()++ == 0) {
            entered().set_value();
            gate().wait();
        }
        return 0;
    }

    std::future<void> isEntered_;
    std::promise<void> released_;
    bool isReleased_ = false;
    std::optional<ScopedCallback> callback_;
};

TEST(LockedCallback, IsHeldWhileTheCallbackRunsAndFreeAfterwards) {
    const TempDirectory directory;
    for (const ErrorCase& each : allErrors(directory)) {
        if (each.thrown == Thrown::AlwaysInvalidArgument) {
            continue; // never reaches the callback
        }
        SCOPED_TRACE(each.name + ": " + each.text);
        const CaseSession session(each);
        const ScopedCallback callback(&watchTheLock);
        g_enteredDuringCallback = true;

        EXPECT_NO_THROW(each.call());

        EXPECT_FALSE(g_enteredDuringCallback);
        ASSERT_TRUE(g_entrant.has_value());
        EXPECT_TRUE(g_entrant->throughWithin(kPatience));
        g_entrant.reset();
    }
}

TEST(LockedCallback, IsHeldDuringTheWarning) {
    const LibrarySession session;
    const ScopedCallback callback(&watchTheLock);
    g_enteredDuringCallback = true;
    EXPECT_FALSE(KLB_GetToggle("/unknown"));
    EXPECT_FALSE(g_enteredDuringCallback);
    ASSERT_TRUE(g_entrant.has_value());
    EXPECT_TRUE(g_entrant->throughWithin(kPatience));
    g_entrant.reset();
}

TEST(LockedCallback, IsFreeAfterEveryThrow) {
    const TempDirectory directory;
    KLB_InitMessageProc(nullptr);
    EXPECT_ANY_THROW(KLB_Init(nullptr, false));
    EXPECT_TRUE(lockIsFree());
    for (const ErrorCase& each : allErrors(directory)) {
        SCOPED_TRACE(each.name + ": " + each.text);
        const CaseSession session(each);
        EXPECT_ANY_THROW(each.call());
        EXPECT_TRUE(lockIsFree());
    }
}

TEST(LockedCallback, IsFreeAfterThrowsInSpiteOfACallback) {
    const TempDirectory directory;
    const MessageRecorder recorder;
    for (const ErrorCase& each : allErrors(directory)) {
        if (each.thrown != Thrown::AlwaysInvalidArgument) {
            continue;
        }
        SCOPED_TRACE(each.name + ": " + each.text);
        const CaseSession session(each);
        EXPECT_ANY_THROW(each.call());
        EXPECT_TRUE(lockIsFree());
    }
}

TEST(LockedCallback, IsNotHeldByTheNullCheckOfInit) {
    for (const bool initialised : {false, true}) {
        SCOPED_TRACE(initialised ? "initialised" : "not initialised");
        std::optional<LibrarySession> session;
        if (initialised) {
            session.emplace();
        }
        BlockingCallback callback;
        const Entrant refused([] { KLB_Init(nullptr, false); });
        ASSERT_TRUE(callback.isEntered());
        EXPECT_TRUE(lockIsFree());
        callback.release();
        EXPECT_TRUE(refused.throughWithin(kPatience));
        EXPECT_EQ(BlockingCallback::calls(), 1);
    }
}

TEST(LockedCallback, IsNotAwaitedByTheNullCheckOfInit) {
    const LibrarySession session;
    BlockingCallback callback;
    const Entrant holder([] { KLB_GetToggle(""); });
    ASSERT_TRUE(callback.isEntered());

    const Entrant refused([] { KLB_Init(nullptr, false); });
    EXPECT_TRUE(refused.throughWithin(kPatience));
    EXPECT_EQ(BlockingCallback::calls(), 2);
    EXPECT_FALSE(holder.throughWithin(kWatch));

    callback.release();
    EXPECT_TRUE(holder.throughWithin(kPatience));
}

TEST(LockedCallback, IsAwaitedByEveryExport) {
    static const std::vector<std::function<void()>> exports = {
        [] { KLB_Init("Other", false); },
        [] { KLB_Term(); },
        [] { KLB_IsInitialized(); },
        [] { KLB_InitMessageProc(nullptr); },
        [] { KLB_SetOverridePath("D:\\cfg"); },
        [] { KLB_SetCertificateData(nullptr); },
        [] { KLB_InitOBX(nullptr); },
        [] { KLB_IsOBXInitialized(); },
        [] { registerPlainFile("token", "klb-no-such\\file.json"); },
        [] { KLB_IsToggleFileRegistered("token"); },
        [] { KLB_RegisterToggle("/a", false, "token"); },
        [] { KLB_RegisterDynamicToggle("/d", false, "token"); },
        [] { KLB_IsToggleRegistered("/a"); },
        [] { KLB_IsDynamicToggleRegistered("/d"); },
        [] { KLB_GetToggle("/a"); },
        [] { KLB_GetDynamicToggle("/d"); },
        [] { KLB_SetDynamicToggle("/d", true); },
        [] { KLB_AddToggleComment("/a", "comment"); },
        [] { KLB_GetOverrideInfoString(nullptr, 0); },
        [] { KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0); },
    };
    for (const bool initialised : {false, true}) {
        SCOPED_TRACE(initialised ? "initialised" : "not initialised");
        if (initialised) {
            KLB_Init("TestSystem", false);
        }
        {
            BlockingCallback callback;
            const Entrant holder([] { KLB_GetToggle(""); });
            ASSERT_TRUE(callback.isEntered());

            // In whatever order they come through later, they may meet errors: that is not asked.
            std::vector<std::unique_ptr<Entrant>> waiting;
            for (const std::function<void()>& call : exports) {
                waiting.push_back(std::make_unique<Entrant>([call] {
                    try {
                        call();
                    } catch (const std::exception&) {
                    }
                }));
            }
            std::this_thread::sleep_for(10 * kWatch);
            for (std::size_t index = 0; index < waiting.size(); ++index) {
                SCOPED_TRACE("export " + std::to_string(index + 1));
                EXPECT_FALSE(waiting[index]->throughWithin(milliseconds(0)));
            }
            EXPECT_EQ(BlockingCallback::calls(), 1);

            callback.release();
            for (const auto& each : waiting) {
                EXPECT_TRUE(each->throughWithin(kPatience));
            }
        }
        KLB_Term();
    }
}

TEST(LockedCallback, LetsCallbacksInOneAtATime) {
    static std::atomic<int> inside{0};
    static std::atomic<int> calls{0};
    static std::atomic<bool> overlapped{false};
    const LibrarySession session;
    const ScopedCallback callback([](KLB_MessageType, const char*) {
        if (++inside != 1) {
            overlapped = true;
        }
        std::this_thread::yield();
        ++calls;
        --inside;
        return 0;
    });
    {
        std::vector<std::unique_ptr<Entrant>> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.push_back(std::make_unique<Entrant>([] {
                for (int call = 0; call < 100; ++call) {
                    KLB_GetToggle("");
                    KLB_GetToggle("/unknown");
                    KLB_SetDynamicToggle("/unknown", true);
                }
            }));
        }
    }
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(calls, 4 * 300);
}

TEST(LockedCallback, KeepsCallsFromManyThreadsWhole) {
    const TempDirectory directory;
    const std::string file = directory.write("t.json", documentWith(R"("features":{"on":true})"));
    const LibrarySession session;
    MessageRecorder recorder;
    {
        std::vector<std::unique_ptr<Entrant>> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.push_back(std::make_unique<Entrant>([thread, &file] {
                // Every thread registers the same file and shared toggles, and toggles of its own.
                registerPlainFile("shared", file);
                for (int index = 0; index < 100; ++index) {
                    const std::string shared = "/shared/" + std::to_string(index);
                    const std::string own =
                        "/thread" + std::to_string(thread) + "/" + std::to_string(index);
                    KLB_RegisterToggle(shared.c_str(), true, "shared");
                    KLB_RegisterDynamicToggle(own.c_str(), false, "shared");
                    KLB_SetDynamicToggle(own.c_str(), true);
                    KLB_GetToggle(shared.c_str());
                    KLB_Init("Ignored", true);
                }
            }));
        }
    }
    for (int index = 0; index < 100; ++index) {
        EXPECT_TRUE(KLB_GetToggle(("/shared/" + std::to_string(index)).c_str()));
        for (int thread = 0; thread < 4; ++thread) {
            EXPECT_TRUE(KLB_GetDynamicToggle(
                ("/thread" + std::to_string(thread) + "/" + std::to_string(index)).c_str()));
        }
    }
    EXPECT_TRUE(registeredValue("/on", false, "shared"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
}

TEST(LockedCallback, KeepsInitAndTermFromManyThreadsWhole) {
    MessageRecorder recorder;
    {
        std::vector<std::unique_ptr<Entrant>> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.push_back(std::make_unique<Entrant>([] {
                for (int round = 0; round < 100; ++round) {
                    KLB_Init("TestSystem", false);
                    KLB_IsToggleFileRegistered("token");
                    KLB_IsInitialized();
                    KLB_Term();
                }
            }));
        }
    }
    EXPECT_FALSE(KLB_IsInitialized());
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
}

} // namespace
} // namespace klb::test
