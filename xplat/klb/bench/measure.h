#ifndef KLB_BENCH_MEASURE_H
#define KLB_BENCH_MEASURE_H

#include "seconds.h"

#include <cstddef>
#include <vector>

#include <benchmark/benchmark.h>

namespace klb::bench {

/// The mean of what several runs give.
template <class Run>
double meanOf(std::size_t runs, Run&& run) {
    double sum = 0;
    for (std::size_t i = 0; i < runs; ++i) {
        sum += run();
    }
    return sum / static_cast<double>(runs);
}

/// Throws when there is none.
double leastOf(const std::vector<double>& values);

/// The counters by which a benchmark tells what it measured.
namespace counters {
inline constexpr const char* kFigure = "figure";
inline constexpr const char* kFloor = "floor";
inline constexpr const char* kRatio = "ratio";
} // namespace counters

/// Times of a figure and of its floor, taken in turns, so that both have their share of the
/// machine's quiet moments.
class PairedTimes {
public:
    void add(double figure, double floor);

    /// The least of both: what disturbs a run makes it longer and never shorter.
    void tell(benchmark::State& state) const;

private:
    std::vector<double> figures_;
    std::vector<double> floors_;
};

/// Runs a benchmark whose figure and floor are functions that give seconds. Each goes first every
/// other time.
template <class Figure, class Floor>
void measurePairs(benchmark::State& state, Figure&& figure, Floor&& floor) {
    PairedTimes times;
    bool floorFirst = false;
    figure();
    floor();
    for (auto _ : state) {
        const double early = floorFirst ? floor() : figure();
        const double late = floorFirst ? figure() : floor();
        times.add(floorFirst ? late : early, floorFirst ? early : late);
        state.SetIterationTime(floorFirst ? late : early);
        floorFirst = !floorFirst;
    }
    times.tell(state);
}

} // namespace klb::bench

#endif
