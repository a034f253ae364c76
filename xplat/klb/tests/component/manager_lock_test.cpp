#include "message_callback_cases.h"
#include "publication.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace klb::test {
namespace {

using std::chrono::milliseconds;

// How long a call is watched that must not come through.
constexpr milliseconds kWatch{300};

/// Keeps the library's lock with a thread that is inside the message sink, until it is let go.
class LockHolder {
public:
    explicit LockHolder(Publication& published) : framework_(published.framework) {
        std::future<void> entered = entered_.get_future();
        framework_.onCall([this](const std::string& call) {
            if (call.starts_with("sink.Report") && !wasEntered_) {
                wasEntered_ = true;
                entered_.set_value();
                released_.get_future().wait();
            }
        });
        holder_.emplace([&published] {
            uint32_t value = 0;
            published.manager->GetToggle("", &value);
        });
        holds_ = entered.wait_for(kPatience) == std::future_status::ready;
    }
    ~LockHolder() {
        release();
        holder_.reset();
        framework_.onCall(nullptr);
    }
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;

    bool holds() const {
        return holds_;
    }
    void release() {
        if (!isReleased_) {
            isReleased_ = true;
            released_.set_value();
        }
    }

private:
    FakeFramework& framework_;
    std::promise<void> entered_;
    std::promise<void> released_;
    bool wasEntered_ = false;
    bool isReleased_ = false;
    bool holds_ = false;
    std::optional<Entrant> holder_;
};

struct LockCase {
    const char* name;
    std::function<void(Publication&)> call;
};

const std::vector<LockCase> kCallsWithoutTheLock = {
    {"RegisterToggleFile, null",
     [](Publication& p) {
         EXPECT_EQ(codeOf(p.manager->RegisterToggleFile(2, nullptr, "f")), kNullArgument);
         EXPECT_EQ(codeOf(p.manager->RegisterToggleFile(2, "t", nullptr)), kNullArgument);
     }},
    {"RegisterToggle, null",
     [](Publication& p) {
         EXPECT_EQ(codeOf(p.manager->RegisterToggle(nullptr, 1, "t")), kNullArgument);
         EXPECT_EQ(codeOf(p.manager->RegisterToggle("/a", 1, nullptr)), kNullArgument);
     }},
    {"GetToggle, null",
     [](Publication& p) {
         uint32_t value = 0;
         EXPECT_EQ(codeOf(p.manager->GetToggle(nullptr, &value)), kNullArgument);
         EXPECT_EQ(codeOf(p.manager->GetToggle("/a", nullptr)), kNullArgument);
     }},
    {"IsToggleRegistered, null",
     [](Publication& p) {
         EXPECT_EQ(codeOf(p.manager->IsToggleRegistered(nullptr)), kNullArgument);
     }},
    {"RegisterDynamicToggle, null",
     [](Publication& p) {
         EXPECT_EQ(codeOf(p.manager->RegisterDynamicToggle(nullptr, 1, "t")), kNullArgument);
         EXPECT_EQ(codeOf(p.manager->RegisterDynamicToggle("/a", 1, nullptr)), kNullArgument);
     }},
    {"GetDynamicToggle, null",
     [](Publication& p) {
         uint32_t value = 0;
         EXPECT_EQ(codeOf(p.manager->GetDynamicToggle(nullptr, &value)), kNullArgument);
         EXPECT_EQ(codeOf(p.manager->GetDynamicToggle("/a", nullptr)), kNullArgument);
     }},
    {"SetDynamicToggle, null",
     [](Publication& p) {
         EXPECT_EQ(codeOf(p.manager->SetDynamicToggle(nullptr, 1)), kNullArgument);
     }},
    {"IsDynamicToggleRegistered, null",
     [](Publication& p) {
         EXPECT_EQ(codeOf(p.manager->IsDynamicToggleRegistered(nullptr)), kNullArgument);
     }},
    {"QueryInterface",
     [](Publication& p) {
         EXPECT_EQ(queryFor<IKLBManager>(p.singleton, KLB_IID_IKLBManager), p.manager);
         EXPECT_EQ(queryFor<IOBXSingleton>(p.manager, KLB_IID_IOBXSingleton), p.singleton);
         EXPECT_EQ(codeOf(p.manager->QueryInterface(KLB_IID_IKLBManager, nullptr)), kNullArgument);
     }},
    {"references",
     [](Publication& p) {
         EXPECT_EQ(p.manager->AddRef(), 1U);
         EXPECT_EQ(p.manager->Release(), 1U);
         EXPECT_EQ(p.singleton->AddRef(), 1U);
         EXPECT_EQ(p.singleton->Release(), 1U);
     }},
    {"singleton state",
     [](Publication& p) {
         EXPECT_EQ(p.singleton->InitializeSingleton(), 0);
         EXPECT_EQ(p.singleton->GetSingletonState(), 2U);
         EXPECT_EQ(p.singleton->FinalizeSingleton(), 0);
         EXPECT_EQ(p.singleton->GetSingletonState(), 4U);
     }},
};

const std::vector<LockCase> kCallsUnderTheLock = {
    {"RegisterToggleFile",
     [](Publication& p) { p.manager->RegisterToggleFile(2, "t", "klb-no-such\\f.json"); }},
    {"RegisterToggle", [](Publication& p) { p.manager->RegisterToggle("/s", 1, "t"); }},
    {"GetToggle",
     [](Publication& p) {
         uint32_t value = 0;
         p.manager->GetToggle("/s", &value);
     }},
    {"IsToggleRegistered", [](Publication& p) { p.manager->IsToggleRegistered("/s"); }},
    {"IsToggleFileRegistered", [](Publication& p) { p.manager->IsToggleFileRegistered("t"); }},
    {"IsToggleFileRegistered, null",
     [](Publication& p) { p.manager->IsToggleFileRegistered(nullptr); }},
    {"GetOverrideInfoString", [](Publication& p) { p.manager->GetOverrideInfoString(nullptr, 0); }},
    {"RegisterDynamicToggle",
     [](Publication& p) { p.manager->RegisterDynamicToggle("/d", 1, "t"); }},
    {"GetDynamicToggle",
     [](Publication& p) {
         uint32_t value = 0;
         p.manager->GetDynamicToggle("/d", &value);
     }},
    {"SetDynamicToggle", [](Publication& p) { p.manager->SetDynamicToggle("/d", 1); }},
    {"IsDynamicToggleRegistered",
     [](Publication& p) { p.manager->IsDynamicToggleRegistered("/d"); }},
    {"an export", [](Publication&) { KLB_IsInitialized(); }},
};

TEST(ManagerLock, IsNotAwaitedByNullChecksAndByTheFrameworksOwnOperations) {
    Publication published;
    LockHolder holder(published);
    ASSERT_TRUE(holder.holds());
    for (const LockCase& each : kCallsWithoutTheLock) {
        SCOPED_TRACE(each.name);
        const Entrant entrant([&] { each.call(published); });
        EXPECT_TRUE(entrant.throughWithin(kPatience));
    }
    const Entrant locked([] { KLB_IsInitialized(); });
    EXPECT_FALSE(locked.throughWithin(milliseconds(30)));
    holder.release();
}

TEST(ManagerLock, IsAwaitedByEveryToggleOperation) {
    Publication published;
    LockHolder holder(published);
    ASSERT_TRUE(holder.holds());
    std::vector<std::unique_ptr<Entrant>> waiting;
    for (const LockCase& each : kCallsUnderTheLock) {
        waiting.push_back(std::make_unique<Entrant>([&] { each.call(published); }));
    }
    std::this_thread::sleep_for(kWatch);
    for (std::size_t index = 0; index < waiting.size(); ++index) {
        EXPECT_FALSE(waiting[index]->throughWithin(milliseconds(0)))
            << kCallsUnderTheLock[index].name;
    }
    holder.release();
    for (const auto& each : waiting) {
        EXPECT_TRUE(each->throughWithin(kPatience));
    }
}

TEST(ManagerLock, AValueAskedForWhileTheManagerIsDestroyedIsZero) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the thread sanitizer sees no order between a virtual call that waits for the "
                    "lock and the end of its object, which has the lock";
#endif
    Publication published;
    IKLBManager& manager = *published.manager;
    ASSERT_EQ(manager.RegisterToggle("/s", 1, "t"), 0);
    ASSERT_EQ(manager.RegisterDynamicToggle("/d", 1, "t"), 0);
    uint32_t value = 7;
    uint32_t dynamicValue = 7;
    std::vector<std::unique_ptr<Entrant>> waiting;
    published.framework.onCall([&](const std::string& call) {
        if (call.starts_with("singletons.UnregisterSingleton")) {
            waiting.push_back(std::make_unique<Entrant>(
                [&] { EXPECT_EQ(codeOf(manager.GetToggle("/s", &value)), kUnexpected); }));
            waiting.push_back(std::make_unique<Entrant>([&] {
                EXPECT_EQ(codeOf(manager.GetDynamicToggle("/d", &dynamicValue)), kUnexpected);
            }));
            // They wait for the lock that KLB_Term has.
            std::this_thread::sleep_for(kWatch);
        }
    });
    KLB_Term();
    ASSERT_EQ(waiting.size(), 2U);
    waiting.clear();
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(dynamicValue, 0U);
}

TEST(ManagerLock, KeepsCallsByTheFaceAndByTheExportsWhole) {
    constexpr int kRounds = 100;
    Publication published;
    IKLBManager& manager = *published.manager;
    ASSERT_EQ(manager.RegisterDynamicToggle("/shared", 0, "token"), 0);
    {
        std::vector<std::unique_ptr<Entrant>> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.push_back(std::make_unique<Entrant>([&manager, thread] {
                for (int round = 0; round < kRounds; ++round) {
                    const std::string key =
                        "/" + std::to_string(thread) + "/" + std::to_string(round);
                    uint32_t value = 0;
                    if (thread % 2 == 0) {
                        manager.RegisterToggle(key.c_str(), 1, "token");
                        manager.SetDynamicToggle("/shared", round % 2);
                        manager.GetDynamicToggle("/shared", &value);
                        manager.GetToggle("", &value);
                    } else {
                        KLB_RegisterToggle(key.c_str(), true, "token");
                        KLB_SetDynamicToggle("/shared", round % 2 == 0);
                        KLB_GetDynamicToggle("/shared");
                    }
                }
            }));
        }
    }
    for (int thread = 0; thread < 4; ++thread) {
        for (int round = 0; round < kRounds; ++round) {
            const std::string key = "/" + std::to_string(thread) + "/" + std::to_string(round);
            EXPECT_TRUE(KLB_GetToggle(key.c_str()));
        }
    }
    // The two reports of one error are not torn apart.
    const auto reports = published.framework.takeReports();
    ASSERT_EQ(reports.size(), 4U * kRounds);
    for (std::size_t index = 0; index < reports.size(); index += 2) {
        EXPECT_EQ(reports[index].second, "getToggle: key cannot be an empty string.");
        EXPECT_EQ(reports[index + 1].second, "\n");
    }
}

} // namespace
} // namespace klb::test
