#include "measure.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace klb::bench {

namespace {

double middleOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

void PairedTimes::tell(benchmark::State& state) const {
    const std::vector<Pair> quiet = quietest();
    const auto middle = [&](auto&& valueOf) {
        std::vector<double> values;
        for (const Pair& pair : quiet) {
            values.push_back(valueOf(pair));
        }
        return middleOf(std::move(values));
    };
    state.counters[counters::kFigure] = middle([](const Pair& pair) { return pair.figure; });
    state.counters[counters::kFloor] = middle([](const Pair& pair) { return pair.floor; });
    state.counters[counters::kRatio] =
        middle([](const Pair& pair) { return pair.figure / pair.floor; });
}

std::vector<PairedTimes::Pair> PairedTimes::quietest() const {
    if (pairs_.empty()) {
        throw std::logic_error("nothing was measured");
    }
    const auto least = [&](double Pair::*time) {
        const auto smaller = [time](const Pair& one, const Pair& other) {
            return one.*time < other.*time;
        };
        return (*std::min_element(pairs_.begin(), pairs_.end(), smaller)).*time;
    };
    const double leastFigure = least(&Pair::figure);
    const double leastFloor = least(&Pair::floor);
    const auto disturbance = [&](const Pair& pair) {
        return pair.figure / leastFigure + pair.floor / leastFloor;
    };
    std::vector<Pair> sorted = pairs_;
    std::sort(sorted.begin(), sorted.end(), [&](const Pair& one, const Pair& other) {
        return disturbance(one) < disturbance(other);
    });
    constexpr std::size_t kShare = 4;
    sorted.resize(std::max<std::size_t>(1, sorted.size() / kShare));
    return sorted;
}

} // namespace klb::bench
