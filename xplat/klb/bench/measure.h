#ifndef KLB_BENCH_MEASURE_H
#define KLB_BENCH_MEASURE_H

#include <chrono>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace klb::bench {

/// How long a piece of work takes, in seconds.
template <class Work>
double secondsOf(Work&& work) {
    const auto started = std::chrono::steady_clock::now();
    std::forward<Work>(work)();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
    return elapsed.count();
}

/// The middle one; throws when there is none.
double medianOf(std::vector<double> values);

/// The counters by which a benchmark tells what it measured.
namespace counters {
inline constexpr const char* kFigure = "figure";
inline constexpr const char* kFloor = "floor";
inline constexpr const char* kRatio = "ratio";
} // namespace counters

/// Times of a figure and of its floor, taken in turns: what disturbs the machine for a while meets
/// both.
class PairedTimes {
public:
    void add(double figure, double floor);

    /// Medians of both, and of the ratios of neighbours.
    void tell(benchmark::State& state) const;

private:
    std::vector<double> figures_;
    std::vector<double> floors_;
    std::vector<double> ratios_;
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
