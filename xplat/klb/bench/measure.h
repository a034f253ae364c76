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

/// The counters by which a benchmark tells what it measured.
namespace counters {
inline constexpr const char* kFigure = "figure";
inline constexpr const char* kFloor = "floor";
inline constexpr const char* kRatio = "ratio";
} // namespace counters

/// Times of a figure and of its floor, taken in turns. What disturbs the machine makes a time
/// longer and never shorter, and its speed changes slowly: so the quietest quarter of the pairs
/// counts, and of each pair the ratio.
class PairedTimes {
public:
    void add(double figure, double floor) {
        pairs_.push_back({figure, floor});
    }

    /// Medians of the quietest pairs. \throws std::logic_error when there is none.
    void tell(benchmark::State& state) const;

private:
    struct Pair {
        double figure;
        double floor;
    };

    std::vector<Pair> quietest() const;

    std::vector<Pair> pairs_;
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
