#include "judge.h"

#include "measure.h"

#include <cmath>
#include <cstdio>

namespace klb::bench {

namespace {

std::string goalText(const Goal& goal) {
    char text[32];
    std::snprintf(text, sizeof text, "%s %.*f",
                  goal.bound == Bound::kExactly ? "=" : "<=", goal.floor.empty() ? 0 : 2,
                  goal.limit);
    return text;
}

/// A ratio is judged with the two decimals of its goal.
double rounded(double ratio) {
    return std::round(ratio * 100) / 100;
}

} // namespace

void Judge::ReportRuns(const std::vector<Run>& runs) {
    std::vector<Run> labelled = runs;
    for (Run& run : labelled) {
        ++rows_;
        run.report_label = verdictOf(run);
    }
    report_->ReportRuns(labelled);
}

std::string Judge::verdictOf(const Run& run) {
    if (run.error_occurred) {
        ++missed_;
        return "FAILED";
    }
    const Goal& goal = *rowOf(run.run_name.function_name).goal;
    const auto value = run.counters.find(goal.floor.empty() ? counters::kFigure : counters::kRatio);
    if (value == run.counters.end()) {
        return "not counted";
    }
    if (!judged_ || goal.bound == Bound::kReported) {
        return "reported";
    }
    const bool isMet = goal.bound == Bound::kExactly ? value->second.value == goal.limit
                                                     : rounded(value->second.value) <= goal.limit;
    ++(isMet ? met_ : missed_);
    return goalText(goal) + (isMet ? " met" : " MISSED");
}

} // namespace klb::bench
