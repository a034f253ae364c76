#include "configuration.h"
#include "library_session.h"
#include "measure.h"
#include "plain_records.h"
#include "rows.h"
#include "toggle_sets.h"

#include "klb.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/strings/string_view.h>
#include <benchmark/benchmark.h>

namespace klb::bench {

namespace {

using klb::test::LibrarySession;

constexpr std::size_t kQueries = 100'000;

/// Keys drawn at random, as a host would pass them.
std::vector<const char*> drawQueries(const std::vector<std::string>& keys) {
    std::mt19937_64 random(2);
    std::uniform_int_distribution<std::size_t> index(0, keys.size() - 1);
    std::vector<const char*> queries(kQueries);
    for (const char*& query : queries) {
        query = keys[index(random)].c_str();
    }
    return queries;
}

/// Seconds for one call.
template <class Call>
double timeQueries(const std::vector<const char*>& queries, Call&& call) {
    const double seconds = secondsOf([&] {
        for (const char* query : queries) {
            call(query);
        }
    });
    return seconds / static_cast<double>(queries.size());
}

/// The same with two threads at it; wall time for one call of either.
template <class Call>
double timeQueriesOfTwoThreads(const std::vector<const char*>& queries, Call&& call) {
    std::atomic<bool> ready{false};
    std::atomic<bool> begun{false};
    const auto ask = [&] {
        for (const char* query : queries) {
            call(query);
        }
    };
    std::thread other([&] {
        ready = true;
        while (!begun) {
        }
        ask();
    });
    while (!ready) {
    }
    const double seconds = secondsOf([&] {
        begun = true;
        ask();
        other.join();
    });
    return seconds / static_cast<double>(2 * queries.size());
}

/// The least that a registry with a lock can do to answer a query.
class LockedMap {
public:
    explicit LockedMap(const std::vector<std::string>& keys) {
        for (const std::string& key : keys) {
            records_.add(key.c_str(), false, token_);
        }
        for (const auto& [key, record] : records_.inOrder) {
            map_.emplace(absl::string_view(key.data(), key.size()), record.get());
        }
    }

    const PlainRecord* find(const char* key) {
        const std::lock_guard guard(lock_);
        const auto known = map_.find(absl::string_view(key, std::strlen(key)));
        return known != map_.end() ? known->second : nullptr;
    }

private:
    std::mutex lock_;
    std::string token_ = kToken;
    PlainRecords records_;
    absl::flat_hash_map<absl::string_view, PlainRecord*> map_;
};

/// A library that knows these keys.
class QuerySession {
public:
    QuerySession(const std::vector<std::string>& keys, bool dynamic) {
        for (const std::string& key : keys) {
            (dynamic ? KLB_RegisterDynamicToggle : KLB_RegisterToggle)(key.c_str(), true, kToken);
        }
    }

private:
    LibrarySession session_;
};

void getToggle(const char* key) {
    benchmark::DoNotOptimize(KLB_GetToggle(key));
}
void getDynamicToggle(const char* key) {
    benchmark::DoNotOptimize(KLB_GetDynamicToggle(key));
}
void setDynamicToggle(const char* key) {
    KLB_SetDynamicToggle(key, false);
}
void isToggleRegistered(const char* key) {
    benchmark::DoNotOptimize(KLB_IsToggleRegistered(key));
}
void isDynamicToggleRegistered(const char* key) {
    benchmark::DoNotOptimize(KLB_IsDynamicToggleRegistered(key));
}

struct Query {
    std::string_view what;
    bool dynamic;
    void (*call)(const char* key);
};

constexpr Query kQueryCalls[] = {
    {"KLB_GetToggle", false, &getToggle},
    {"KLB_GetDynamicToggle", true, &getDynamicToggle},
    {"KLB_SetDynamicToggle", true, &setDynamicToggle},
    {"KLB_IsToggleRegistered", false, &isToggleRegistered},
    {"KLB_IsDynamicToggleRegistered", true, &isDynamicToggleRegistered},
};

void compareWithMap(benchmark::State& state, const Query& query, std::size_t count) {
    const std::vector<std::string> keys = makeKeys(Shape::kGroups, count);
    const std::vector<const char*> queries = drawQueries(keys);
    const QuerySession session(keys, query.dynamic);
    LockedMap map(keys);
    measurePairs(
        state, [&] { return timeQueries(queries, query.call); },
        [&] {
            return timeQueries(queries,
                               [&](const char* key) { benchmark::DoNotOptimize(map.find(key)); });
        });
}

void compareWithMutex(benchmark::State& state, const Query& query, std::size_t count) {
    const std::vector<std::string> keys = makeKeys(Shape::kGroups, count);
    const std::vector<const char*> queries = drawQueries(keys);
    const QuerySession session(keys, query.dynamic);
    std::mutex mutex;
    measurePairs(
        state, [&] { return timeQueries(queries, query.call); },
        [&] {
            return timeQueries(queries, [&](const char*) { const std::lock_guard guard(mutex); });
        });
}

void compareUnknownKey(benchmark::State& state, std::size_t count) {
    const std::vector<std::string> known = makeKeys(Shape::kGroups, count);
    std::vector<std::string> unknown = known;
    for (std::string& key : unknown) {
        key[key.rfind('/') + 1] = 'F';
    }
    const std::vector<const char*> knownQueries = drawQueries(known);
    const std::vector<const char*> unknownQueries = drawQueries(unknown);
    const QuerySession session(known, false);
    measurePairs(
        state, [&] { return timeQueries(unknownQueries, &getToggle); },
        [&] { return timeQueries(knownQueries, &getToggle); });
}

void compareTwoThreads(benchmark::State& state, std::size_t count) {
    const std::vector<std::string> keys = makeKeys(Shape::kGroups, count);
    const std::vector<const char*> queries = drawQueries(keys);
    const QuerySession session(keys, false);
    LockedMap map(keys);
    measurePairs(
        state, [&] { return timeQueriesOfTwoThreads(queries, &getToggle); },
        [&] {
            return timeQueriesOfTwoThreads(
                queries, [&](const char* key) { benchmark::DoNotOptimize(map.find(key)); });
        });
}

} // namespace

void addQueryRows() {
    for (const Query& query : kQueryCalls) {
        for (const std::size_t count : kCounts) {
            addRow(query.what, floors::kMap, count, Pairs::kMany,
                   [&query, count](auto& state) { compareWithMap(state, query, count); });
            if (count != kLargeCount) {
                addRow(query.what, floors::kMutex, count, Pairs::kMany,
                       [&query, count](auto& state) { compareWithMutex(state, query, count); });
            }
        }
    }
    for (const std::size_t count : kCounts) {
        addRow("KLB_GetToggle, unknown key", floors::kRegisteredKey, count, Pairs::kMany,
               [count](auto& state) { compareUnknownKey(state, count); });
        addRow("KLB_GetToggle, two threads", floors::kMapTwoThreads, count, Pairs::kSome,
               [count](auto& state) { compareTwoThreads(state, count); });
    }
}

} // namespace klb::bench
