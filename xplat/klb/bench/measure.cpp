#include "measure.h"

#include <algorithm>
#include <stdexcept>

namespace klb::bench {

double leastOf(const std::vector<double>& values) {
    if (values.empty()) {
        throw std::logic_error("nothing was measured");
    }
    return *std::min_element(values.begin(), values.end());
}

void PairedTimes::add(double figure, double floor) {
    figures_.push_back(figure);
    floors_.push_back(floor);
}

void PairedTimes::tell(benchmark::State& state) const {
    const double figure = leastOf(figures_);
    const double floor = leastOf(floors_);
    state.counters[counters::kFigure] = figure;
    state.counters[counters::kFloor] = floor;
    state.counters[counters::kRatio] = figure / floor;
}

} // namespace klb::bench
