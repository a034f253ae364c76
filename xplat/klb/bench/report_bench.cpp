#include "configuration.h"
#include "library_session.h"
#include "measure.h"
#include "rows.h"
#include "toggle_sets.h"

#include "klb.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace klb::bench {

namespace {

using klb::test::LibrarySession;

/// What a host asks a report for.
enum class Ask { kSize, kText };

using Report = unsigned long long (*)(char* buffer, unsigned long long bufferSize);

unsigned long long defaultToggleJson(char* buffer, unsigned long long bufferSize) {
    return KLB_GetDefaultToggleJson("Bench", "1.0", buffer, bufferSize);
}

/// The text with the NUL at its end.
std::string textOf(Report report) {
    std::string text(static_cast<std::size_t>(report(nullptr, 0)), '\0');
    if (report(text.data(), text.size()) != text.size() || text.empty()) {
        throw std::logic_error("the report has another size than it says");
    }
    return text;
}

double timeReport(Report report, Ask ask, std::string& text) {
    return secondsOf([&] {
        benchmark::DoNotOptimize(ask == Ask::kSize ? report(nullptr, 0)
                                                   : report(text.data(), text.size()));
    });
}

/// Prints the finished document.
double timePrint(const rapidjson::Document& document, std::size_t expectedSize) {
    std::size_t size = 0;
    const double seconds = secondsOf([&] {
        rapidjson::StringBuffer text;
        rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
        writer.SetIndent(' ', 4);
        document.Accept(writer);
        size = text.GetSize();
    });
    if (size != expectedSize) {
        throw std::logic_error("RapidJSON prints another text than the report's");
    }
    return seconds;
}

void compareWithPrint(benchmark::State& state, Ask ask, const Shape& shape, bool randomOrder) {
    std::vector<std::string> keys = makeKeys(shape, kLargeCount);
    if (randomOrder) {
        keys = shuffled(std::move(keys));
    }
    const LibrarySession session(kSystemId);
    for (const std::string& key : keys) {
        KLB_RegisterToggle(key.c_str(), false, kToken);
    }
    std::string text = textOf(&defaultToggleJson);
    rapidjson::Document document;
    document.Parse(text.c_str());
    measurePairs(
        state, [&] { return timeReport(&defaultToggleJson, ask, text); },
        [&] { return timePrint(document, text.size() - 1); });
}

/// The first report after a start in random order, which makes the order.
void compareFirstReportWithPrint(benchmark::State& state) {
    const std::vector<std::string> keys = shuffled(makeKeys(kGroups, kLargeCount));
    std::string text;
    const auto timeFirstReport = [&] {
        const LibrarySession session(kSystemId);
        for (const std::string& key : keys) {
            KLB_RegisterToggle(key.c_str(), false, kToken);
        }
        const double seconds = timeReport(&defaultToggleJson, Ask::kSize, text);
        text = textOf(&defaultToggleJson);
        return seconds;
    };
    timeFirstReport();
    rapidjson::Document document;
    document.Parse(text.c_str());
    measurePairs(state, timeFirstReport, [&] { return timePrint(document, text.size() - 1); });
}

/// The lines of a text that ends with a line feed and a NUL.
std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (auto begin = text.begin(); begin != text.end() - 1;) {
        const auto end = std::find(begin, text.end(), '\n') + 1;
        lines.emplace_back(begin, end);
        begin = end;
    }
    return lines;
}

double timeAppend(const std::vector<std::string>& lines) {
    return secondsOf([&] {
        std::string text;
        for (const std::string& line : lines) {
            text += line;
        }
        benchmark::DoNotOptimize(text.data());
    });
}

void compareWithAppend(benchmark::State& state, Ask ask) {
    const Configuration configuration(kGroups, kLargeCount);
    const LoadedSession session(configuration, Overrides::kOff);
    bool setByFile = true;
    for (std::size_t index = 0; index < kLargeCount; ++index) {
        // The file gives every other toggle true: each gets a default that differs.
        KLB_RegisterToggle(makeKey(kGroups, index).c_str(), !setByFile, kToken);
        setByFile = !setByFile;
    }
    std::string text = textOf(&KLB_GetOverrideInfoString);
    const std::vector<std::string> lines = linesOf(text);
    if (lines.size() != kLargeCount + 1) {
        throw std::logic_error("not all toggles differ");
    }
    measurePairs(
        state, [&] { return timeReport(&KLB_GetOverrideInfoString, ask, text); },
        [&] { return timeAppend(lines); });
}

void addReportRows(Ask ask) {
    const std::string what = ask == Ask::kSize ? "size" : "text";
    for (const Shape& shape : {kGroups, kOneGroup}) {
        for (const bool randomOrder : {false, true}) {
            addRow("KLB_GetDefaultToggleJson, " + what +
                       (shape.groupSize == kLargeCount ? ", one group" : ", 1000 groups") +
                       (randomOrder ? ", random order" : ", key order"),
                   floors::kPrint, kLargeCount, Pairs::kFew,
                   [=](auto& state) { compareWithPrint(state, ask, shape, randomOrder); });
        }
    }
    addRow("KLB_GetOverrideInfoString, " + what, floors::kAppend, kLargeCount, Pairs::kSome,
           [ask](auto& state) { compareWithAppend(state, ask); });
}

} // namespace

void addReportRows() {
    addRow("KLB_GetDefaultToggleJson, size, first after random order", floors::kPrint, kLargeCount,
           Pairs::kFew, [](auto& state) { compareFirstReportWithPrint(state); });
    addReportRows(Ask::kSize);
    addReportRows(Ask::kText);
}

} // namespace klb::bench
