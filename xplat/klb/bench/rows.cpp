#include "rows.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <map>
#include <stdexcept>
#include <utility>

namespace klb::bench {

namespace {

std::map<std::string, Row>& rows() {
    static std::map<std::string, Row> all;
    return all;
}

const Goal& goalOf(std::string_view what, std::string_view floor, std::size_t count) {
    const auto* goal = std::find_if(std::begin(kGoals), std::end(kGoals), [&](const Goal& each) {
        return each.what == what && each.floor == floor &&
               (each.count == count || each.count == kEachCount);
    });
    if (goal == std::end(kGoals)) {
        throw std::logic_error("no goal for " + std::string(what));
    }
    return *goal;
}

} // namespace

std::string Row::name() const {
    std::string text(goal->what);
    text += "/" + std::to_string(count);
    if (!goal->floor.empty()) {
        text += "/";
        text += goal->floor;
    }
    return text;
}

void addRow(std::string_view what, std::string_view floor, std::size_t count, Pairs pairs,
            std::function<void(benchmark::State&)> run) {
    const Row row{&goalOf(what, floor, count), count};
    const std::string name = row.name();
    if (!rows().emplace(name, row).second) {
        throw std::logic_error("two rows are called " + name);
    }
    const auto runOrSkip = [run = std::move(run)](benchmark::State& state) {
        try {
            run(state);
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), runOrSkip)
        ->Iterations(static_cast<int>(pairs))
        ->UseManualTime();
}

const Row& rowOf(const std::string& benchmarkName) {
    return rows().at(benchmarkName);
}

void checkThatGoalsHaveRows() {
    for (const Goal& goal : kGoals) {
        const bool measured = std::any_of(rows().begin(), rows().end(), [&](const auto& entry) {
            return entry.second.goal == &goal;
        });
        if (!measured) {
            throw std::logic_error("no row for the goal of " + std::string(goal.what));
        }
    }
}

} // namespace klb::bench
