#include "child_process.h"
#include "measure.h"
#include "rows.h"

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

namespace klb::bench {

namespace {

/// Whether this platform lets a program count the calls that libraries make.
#if defined(KLB_BENCH_COUNTS_CALLS)
constexpr bool kCountsCalls = true;
#else
constexpr bool kCountsCalls = false;
#endif

/// What the counting program prints, by row.
std::map<std::string, double> readCounts() {
    std::map<std::string, double> counts;
    std::istringstream lines(outputOf(KLB_COUNTS_PROGRAM, {}));
    std::string name;
    std::string value;
    while (std::getline(lines, name, '\t') && std::getline(lines, value)) {
        counts[name] = std::stod(value);
    }
    return counts;
}

void tellCount(benchmark::State& state, const std::string& row) {
    static const std::map<std::string, double> counts = readCounts();
    for (auto _ : state) {
        state.SetIterationTime(0);
    }
    const auto count = counts.find(row);
    if (count != counts.end()) {
        state.counters[counters::kFigure] = count->second;
    } else if (kCountsCalls) {
        throw std::logic_error("the counting program leaves the row out");
    }
}

} // namespace

void addCountRows() {
    for (const Goal& goal : kGoals) {
        if (goal.floor.empty()) {
            const std::string row = Row{&goal, goal.count}.name();
            addRow(goal.what, goal.floor, goal.count, Pairs::kOne,
                   [row](auto& state) { tellCount(state, row); });
        }
    }
}

} // namespace klb::bench
