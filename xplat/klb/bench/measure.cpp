#include "measure.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

namespace klb::bench {

double medianOf(std::vector<double> values) {
    if (values.empty()) {
        throw std::logic_error("nothing was measured");
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void PairedTimes::add(double figure, double floor) {
    figures_.push_back(figure);
    floors_.push_back(floor);
    ratios_.push_back(figure / floor);
}

void PairedTimes::tell(benchmark::State& state) const {
    state.counters[counters::kFigure] = medianOf(figures_);
    state.counters[counters::kFloor] = medianOf(floors_);
    state.counters[counters::kRatio] = medianOf(ratios_);
}

} // namespace klb::bench
