#include "table.h"

#include "measure.h"

#include <cmath>
#include <cstdio>
#include <string_view>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace klb::bench {

namespace {

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

/// A count, without decimals when it is whole.
std::string plain(double value) {
    return fixed(value, value == std::floor(value) ? 0 : 1);
}

/// A ratio is judged with the decimals that the table shows.
double asPrinted(double ratio) {
    return std::round(ratio * 100) / 100;
}

std::string formatSeconds(double seconds) {
    if (seconds < 1e-6) {
        return fixed(seconds * 1e9, 1) + " ns";
    }
    if (seconds < 1e-3) {
        return fixed(seconds * 1e6, 2) + " us";
    }
    return fixed(seconds * 1e3, 2) + " ms";
}

std::optional<double> counterOf(const benchmark::BenchmarkReporter::Run& run, const char* name) {
    const auto counter = run.counters.find(name);
    return counter != run.counters.end() ? std::optional<double>(counter->second.value)
                                         : std::nullopt;
}

std::string goalText(const Goal& goal) {
    switch (goal.bound) {
    case Bound::kAtMost:
        return "<= " + (goal.floor.empty() ? plain(goal.limit) : fixed(goal.limit, 2));
    case Bound::kExactly:
        return "= " + plain(goal.limit);
    case Bound::kReported:
        break;
    }
    return "";
}

void printLine(std::string_view what, const std::string& count, const std::string& figure,
               std::string_view floorName, const std::string& floor, const std::string& ratio,
               const std::string& goal, const std::string& verdict) {
    std::printf("%-57.*s %7s %11s  %-16.*s %11s %6s %8s  %s\n", static_cast<int>(what.size()),
                what.data(), count.c_str(), figure.c_str(), static_cast<int>(floorName.size()),
                floorName.data(), floor.c_str(), ratio.c_str(), goal.c_str(), verdict.c_str());
    std::fflush(stdout);
}

} // namespace

bool Table::ReportContext(const Context& context) {
    if (format_ == Format::kText) {
        std::printf("%d cores at %.0f MHz\n\n", context.cpu_info.num_cpus,
                    context.cpu_info.cycles_per_second / 1e6);
        printLine("row", "toggles", "measured", "floor", "time", "ratio", "goal", "verdict");
    }
    return true;
}

void Table::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        Line line{rowOf(run.run_name.function_name),
                  counterOf(run, counters::kFigure),
                  counterOf(run, counters::kFloor),
                  counterOf(run, counters::kRatio),
                  run.error_occurred ? run.error_message : "",
                  Verdict::kReported};
        line.verdict = judge(line);
        missed_ += line.verdict == Verdict::kMissed || line.verdict == Verdict::kFailed ? 1 : 0;
        met_ += line.verdict == Verdict::kMet ? 1 : 0;
        if (format_ == Format::kText) {
            print(line);
        }
        lines_.push_back(line);
    }
}

void Table::Finalize() {
    if (format_ == Format::kJson) {
        printJson();
    } else {
        std::printf("\n%zu rows: %d meet their goal, %d miss it, %zu are not judged\n",
                    lines_.size(), met_, missed_,
                    lines_.size() - static_cast<std::size_t>(met_) -
                        static_cast<std::size_t>(missed_));
    }
}

const char* Table::nameOf(Verdict verdict) noexcept {
    switch (verdict) {
    case Verdict::kMet:
        return "met";
    case Verdict::kMissed:
        return "MISSED";
    case Verdict::kReported:
        return "reported";
    case Verdict::kNotCounted:
        return "not counted";
    case Verdict::kFailed:
        break;
    }
    return "FAILED";
}

Table::Verdict Table::judge(const Line& line) const {
    if (!line.failure.empty()) {
        return Verdict::kFailed;
    }
    const std::optional<double> value = line.row.goal->floor.empty() ? line.figure : line.ratio;
    if (!value) {
        return Verdict::kNotCounted;
    }
    const Goal& goal = *line.row.goal;
    if (!judged_ || goal.bound == Bound::kReported) {
        return Verdict::kReported;
    }
    const bool met =
        goal.bound == Bound::kExactly ? *value == goal.limit : asPrinted(*value) <= goal.limit;
    return met ? Verdict::kMet : Verdict::kMissed;
}

void Table::print(const Line& line) {
    const Goal& goal = *line.row.goal;
    const bool isTime = !goal.floor.empty();
    std::string figure;
    if (line.figure) {
        figure = isTime ? formatSeconds(*line.figure) : plain(*line.figure);
    }
    std::string verdict = nameOf(line.verdict);
    if (!line.failure.empty()) {
        verdict += ": " + line.failure;
    }
    printLine(goal.what, line.row.count == kNoToggles ? "" : std::to_string(line.row.count), figure,
              goal.floor, line.floor ? formatSeconds(*line.floor) : "",
              line.ratio ? fixed(*line.ratio, 2) : "", goalText(goal), verdict);
}

void Table::printJson() const {
    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
    const auto writeText = [&](const char* name, std::string_view value) {
        writer.Key(name);
        writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
    };
    const auto writeNumber = [&](const char* name, const std::optional<double>& value) {
        if (value) {
            writer.Key(name);
            writer.Double(*value);
        }
    };
    writer.StartObject();
    writer.Key("rows");
    writer.StartArray();
    for (const Line& line : lines_) {
        const Goal& goal = *line.row.goal;
        const bool isTime = !goal.floor.empty();
        writer.StartObject();
        writeText("row", goal.what);
        writer.Key("toggles");
        writer.Uint64(line.row.count);
        writeNumber(isTime ? "seconds" : "value", line.figure);
        if (isTime) {
            writeText("floor", goal.floor);
            writeNumber("floorSeconds", line.floor);
            writeNumber("ratio", line.ratio);
        }
        writeText("goal", goalText(goal));
        writeText("verdict", nameOf(line.verdict));
        if (!line.failure.empty()) {
            writeText("failure", line.failure);
        }
        writer.EndObject();
    }
    writer.EndArray();
    writer.Key("met");
    writer.Int(met_);
    writer.Key("missed");
    writer.Int(missed_);
    writer.EndObject();
    std::printf("%s\n", text.GetString());
}

} // namespace klb::bench
