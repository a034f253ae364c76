#include "locked_map.h"
#include "measure.h"
#include "queries.h"
#include "rows.h"
#include "toggle_sets.h"

#include "klb.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

namespace klb::bench {

namespace {

/// Seconds for one call.
template <class AskAll>
double timeQueries(const std::vector<const char*>& queries, AskAll&& askAll) {
    return secondsOf([&] { askAll(queries); }) / static_cast<double>(queries.size());
}

/// The same with two threads at it; wall time for one call of either.
template <class AskAll>
double timeQueriesOfTwoThreads(const std::vector<const char*>& queries, AskAll&& askAll) {
    std::atomic<bool> ready{false};
    std::atomic<bool> begun{false};
    std::thread other([&] {
        ready = true;
        while (!begun) {
        }
        askAll(queries);
    });
    while (!ready) {
    }
    const auto started = std::chrono::steady_clock::now();
    begun = true;
    askAll(queries);
    other.join();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - started;
    return passed.count() / static_cast<double>(2 * queries.size());
}

auto findAllIn(LockedMap& map) {
    return [&map](const std::vector<const char*>& keys) {
        for (const char* key : keys) {
            benchmark::DoNotOptimize(map.find(key));
        }
    };
}

void compareWithMap(benchmark::State& state, const Query& query, std::size_t count) {
    const std::vector<std::string> keys = makeKeys(kGroups, count);
    const std::vector<const char*> queries = drawQueries(keys);
    const QuerySession session(keys, query.dynamic);
    LockedMap map(keys);
    measurePairs(
        state, [&] { return timeQueries(queries, query.askAll); },
        [&] { return timeQueries(queries, findAllIn(map)); });
}

void compareUnknownKey(benchmark::State& state, std::size_t count) {
    const std::vector<std::string> known = makeKeys(kGroups, count);
    const std::vector<std::string> unknown = makeUnknownKeys(known);
    const std::vector<const char*> knownQueries = drawQueries(known);
    const std::vector<const char*> unknownQueries = drawQueries(unknown);
    const QuerySession session(known, false);
    measurePairs(
        state, [&] { return timeQueries(unknownQueries, getToggleQuery().askAll); },
        [&] { return timeQueries(knownQueries, getToggleQuery().askAll); });
}

void compareTwoThreads(benchmark::State& state, std::size_t count) {
    const std::vector<std::string> keys = makeKeys(kGroups, count);
    const std::vector<const char*> queries = drawQueries(keys);
    const QuerySession session(keys, false);
    LockedMap map(keys);
    measurePairs(
        state, [&] { return timeQueriesOfTwoThreads(queries, getToggleQuery().askAll); },
        [&] { return timeQueriesOfTwoThreads(queries, findAllIn(map)); });
}

} // namespace

void addQueryRows() {
    for (const Query& query : allQueries()) {
        for (const std::size_t count : kCounts) {
            addRow(query.what, floors::kMap, count, Pairs::kMany,
                   [&query, count](auto& state) { compareWithMap(state, query, count); });
        }
    }
    for (const std::size_t count : kCounts) {
        addRow("KLB_GetToggle, unknown key", floors::kRegisteredKey, count, Pairs::kMany,
               [count](auto& state) { compareUnknownKey(state, count); });
        addRow("KLB_GetToggle, two threads", floors::kMapTwoThreads, count, Pairs::kMany,
               [count](auto& state) { compareTwoThreads(state, count); });
    }
}

} // namespace klb::bench
