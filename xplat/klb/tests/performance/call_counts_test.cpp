#include "configuration.h"
#include "counted_calls.h"
#include "queries.h"
#include "quiet_framework.h"
#include "support/protected_samples.h"
#include "toggle_sets.h"

#include "klb.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace klb::test {

namespace {

using namespace klb::bench;

CountedCalls callsOf(const std::function<void()>& work) {
    const CountedCalls before = countedCalls();
    work();
    const CountedCalls after = countedCalls();
    return {after.allocations - before.allocations, after.locks - before.locks};
}

void expectCallsOfQueries(const Query& query, const std::vector<std::string>& keys) {
    SCOPED_TRACE(query.what);
    const std::vector<const char*> queries = drawQueries(keys);
    const CountedCalls calls = callsOf([&] { query.askAll(queries); });
    EXPECT_EQ(calls.allocations, 0);
    EXPECT_EQ(calls.locks, static_cast<std::int64_t>(queries.size()));
}

TEST(CallCounts, OfAQueryAreOneLockAndNoAllocation) {
    const std::vector<std::string> keys = makeKeys(kGroups, 1'000);
    for (const Query& query : allQueries()) {
        const QuerySession session(keys, query.dynamic);
        expectCallsOfQueries(query, keys);
    }
}

TEST(CallCounts, OfAQueryForAnUnknownKeyAreOneLockAndNoAllocation) {
    const std::vector<std::string> keys = makeKeys(kGroups, 1'000);
    for (const Query& query : allQueries()) {
        if (!query.refusesUnknownKeys) {
            const QuerySession session(keys, query.dynamic);
            expectCallsOfQueries(query, makeUnknownKeys(keys));
        }
    }
}

int messages = 0;

int countMessage(KLB_MessageType, const char*) {
    return ++messages;
}

struct Call {
    const char* what;
    std::function<void()> call;
};

/// Each export once, in an order in which each finds what it needs when the library is initialised;
/// in the end it is.
class EachExport {
public:
    void expectOneLockEach() const {
        for (const auto& [what, call] : calls_) {
            EXPECT_EQ(callsOf(call).locks, 1) << what;
        }
    }

private:
    QuietFramework framework_{[](const char*) {}};
    Configuration configuration_{kFlat, 10};
    std::array<Call, 20> calls_ = {{
        {"KLB_InitMessageProc", [] { KLB_InitMessageProc(&countMessage); }},
        {"KLB_IsInitialized", [] { KLB_IsInitialized(); }},
        {"KLB_SetOverridePath",
         [this] { KLB_SetOverridePath(configuration_.directory().c_str()); }},
        {"KLB_SetCertificateData", [] { KLB_SetCertificateData(kSignerCertificate); }},
        {"KLB_InitOBX", [this] { KLB_InitOBX(framework_.host()); }},
        {"KLB_IsOBXInitialized", [] { KLB_IsOBXInitialized(); }},
        {"KLB_RegisterToggleFile",
         [this] {
             KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, kToken,
                                    configuration_.file().c_str());
         }},
        {"KLB_IsToggleFileRegistered", [] { KLB_IsToggleFileRegistered(kToken); }},
        {"KLB_RegisterToggle", [] { KLB_RegisterToggle("/feature0", false, kToken); }},
        {"KLB_RegisterDynamicToggle", [] { KLB_RegisterDynamicToggle("/feature1", true, kToken); }},
        {"KLB_IsToggleRegistered", [] { KLB_IsToggleRegistered("/feature0"); }},
        {"KLB_IsDynamicToggleRegistered", [] { KLB_IsDynamicToggleRegistered("/feature1"); }},
        {"KLB_GetToggle", [] { KLB_GetToggle("/feature0"); }},
        {"KLB_GetDynamicToggle", [] { KLB_GetDynamicToggle("/feature1"); }},
        {"KLB_SetDynamicToggle", [] { KLB_SetDynamicToggle("/feature1", true); }},
        {"KLB_AddToggleComment", [] { KLB_AddToggleComment("/feature0", "a comment"); }},
        {"KLB_GetOverrideInfoString", [] { KLB_GetOverrideInfoString(nullptr, 0); }},
        {"KLB_GetDefaultToggleJson",
         [] { KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0); }},
        {"KLB_Term", [] { KLB_Term(); }},
        {"KLB_Init", [] { KLB_Init(kSystemId, true); }},
    }};
};

TEST(CallCounts, OfEachExportAreOneLock) {
    const EachExport exports;
    {
        SCOPED_TRACE("before KLB_Init");
        exports.expectOneLockEach();
        EXPECT_GT(std::exchange(messages, 0), 0);
    }
    {
        SCOPED_TRACE("after KLB_Init");
        exports.expectOneLockEach();
        EXPECT_EQ(messages, 0);
    }
    KLB_Term();
}

TEST(CallCounts, OfInitWithoutASystemIdentifierAreNoLock) {
    KLB_InitMessageProc(&countMessage);
    EXPECT_EQ(callsOf([] { KLB_Init(nullptr, true); }).locks, 0);
    EXPECT_EQ(messages, 1);
}

void expectAllocationsOfRegistrations(const Shape& shape, Overrides overrides) {
    constexpr std::size_t kToggles = 10'000;
    // Toggles lie in large blocks; a group takes a few allocations to be searched.
    constexpr std::int64_t kTogglesOfAllocation = 20;
    const Configuration configuration(shape, kToggles);
    const std::vector<std::string> keys = shuffled(makeKeys(shape, kToggles));
    const LoadedSession session(configuration, overrides);
    const CountedCalls calls = callsOf([&] {
        for (const std::string& key : keys) {
            KLB_RegisterToggle(key.c_str(), false, kToken);
        }
    });
    EXPECT_GT(calls.allocations, 0);
    EXPECT_LE(calls.allocations * kTogglesOfAllocation, std::int64_t{kToggles});
    EXPECT_EQ(calls.locks, std::int64_t{kToggles});
}

TEST(CallCounts, OfRegistrationsAreOneAllocationForManyToggles) {
    for (const Shape& shape : {kFlat, kGroups}) {
        for (const Overrides overrides : {Overrides::kOff, Overrides::kOn}) {
            SCOPED_TRACE(shape.groupSize == 0 ? "flat" : "groups");
            SCOPED_TRACE(overrides == Overrides::kOn ? "with overrides" : "without overrides");
            expectAllocationsOfRegistrations(shape, overrides);
        }
    }
}

} // namespace

} // namespace klb::test
