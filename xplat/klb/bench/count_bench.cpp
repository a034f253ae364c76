#include "measure.h"
#include "rows.h"

#include <iterator>
#include <map>
#include <sstream>
#include <string>

#if defined(KLB_COUNTS_PROGRAM)
#include "child_process.h"
#endif

namespace klb::bench {

namespace {

/// What the counting program prints, by row; nothing where there is no such program.
std::map<std::string, double> readCounts() {
    std::map<std::string, double> counts;
#if defined(KLB_COUNTS_PROGRAM)
    std::istringstream lines(outputOf(KLB_COUNTS_PROGRAM, {}));
    std::string name;
    std::string value;
    while (std::getline(lines, name, '\t') && std::getline(lines, value)) {
        counts[name] = std::stod(value);
    }
#endif
    return counts;
}

void tellCount(benchmark::State& state, const std::string& row) {
    static const std::map<std::string, double> counts = readCounts();
    for (auto _ : state) {
        state.SetIterationTime(0);
    }
    if (!counts.empty()) {
        state.counters[counters::kFigure] = counts.at(row);
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
