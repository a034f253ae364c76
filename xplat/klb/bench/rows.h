#ifndef KLB_BENCH_ROWS_H
#define KLB_BENCH_ROWS_H

#include "goals.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

namespace klb::bench {

/// One row of the table: a benchmark and the goal that it is judged by.
struct Row {
    const Goal* goal;
    std::size_t count;

    /// The name of its benchmark.
    std::string name() const;
};

/// How often a row takes its figure and its floor.
enum class Pairs : int { kOne = 1, kFew = 9, kSome = 21, kMany = 61 };

/// Enters a row. Throws when goals.h has no goal for it.
void addRow(std::string_view what, std::string_view floor, std::size_t count, Pairs pairs,
            std::function<void(benchmark::State&)> run);

/// The row of a benchmark.
const Row& rowOf(const std::string& benchmarkName);

/// Throws when a goal has no row: no promise goes unmeasured.
void checkThatGoalsHaveRows();

// Each of these enters the rows of one subject.
void addQueryRows();
void addCountRows();
void addLoadRows();
void addProtectedRows();
void addColdStartRows();
void addRegistrationRows();
void addReportRows();

} // namespace klb::bench

#endif
