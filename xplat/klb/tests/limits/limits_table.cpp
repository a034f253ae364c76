#include "limits_table.h"

#include "child_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace klb::test {

namespace {

constexpr const char* kRowMark = "ROW\t";
constexpr const char* kSuite = "Limits";

std::vector<std::string> allRows() {
    std::vector<std::string> names;
    const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
    for (int i = 0; i < tests.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *tests.GetTestSuite(i);
        for (int j = 0; suite.name() == std::string(kSuite) && j < suite.total_test_count(); ++j) {
            names.emplace_back(suite.GetTestInfo(j)->name());
        }
    }
    return names;
}

/// What a row says of itself: what it is, its size, its time, its memory, and what is beyond.
struct Line {
    std::string what;
    std::string size;
    std::string time;
    std::string memory;
    std::string beyond;
};

std::string withSeparators(std::string number) {
    for (std::size_t place = number.size(); place > 3; place -= 3) {
        number.insert(place - 3, ",");
    }
    return number;
}

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string secondsOf(const std::string& text) {
    const double seconds = std::stod(text);
    return seconds < 1 ? fixed(seconds * 1e3, 0) + " ms" : fixed(seconds, 1) + " s";
}

std::string memoryOf(const std::string& text) {
    constexpr double kMebibyte = 1 << 20;
    const double mebibytes = std::stod(text) / kMebibyte;
    return mebibytes < 1024 ? fixed(mebibytes, 0) + " MiB" : fixed(mebibytes / 1024, 1) + " GiB";
}

/// The text behind a mark, up to the end of its line; empty when it is not there.
std::string lineBehind(const std::string& text, const std::string& mark) {
    const std::size_t place = text.find(mark);
    if (place == std::string::npos) {
        return {};
    }
    const std::size_t begin = place + mark.size();
    return text.substr(begin, text.find_first_of("\r\n", begin) - begin);
}

/// What a test prints in front of the reason for which it is skipped is the line's beginning.
std::string skipReasonIn(const std::string& output) {
    return lineBehind(output.substr(std::min(output.size(), output.find(": Skipped"))), "\n");
}

void print(const Line& line, TableFormat format) {
    if (format == TableFormat::kMarkdown) {
        std::printf("| %s | %s | %s | %s | %s |\n", line.what.c_str(), line.size.c_str(),
                    line.time.c_str(), line.memory.c_str(), line.beyond.c_str());
    } else {
        std::printf("%-60s %13s %8s %9s  %s\n", line.what.c_str(), line.size.c_str(),
                    line.time.c_str(), line.memory.c_str(), line.beyond.c_str());
    }
    std::fflush(stdout);
}

void printTitle(TableFormat format) {
    print({"Thing", "Largest", "Time", "Memory", "One step beyond"}, format);
    if (format == TableFormat::kMarkdown) {
        std::puts("|---|---:|---:|---:|---|");
    }
}

/// Runs one test in a process of its own. False when it failed.
bool printRow(const std::string& program, TableFormat format, const std::string& name) {
    const bench::ProgramResult result = bench::runProgram(
        program, {"--whole", "--gtest_filter=" + std::string(kSuite) + "." + name});
    std::istringstream fields(lineBehind(result.output, kRowMark));
    Line line;
    if (result.status == 0 && std::getline(fields, line.what, '\t') &&
        std::getline(fields, line.size, '\t') && std::getline(fields, line.time, '\t') &&
        std::getline(fields, line.memory, '\t')) {
        std::getline(fields, line.beyond);
        line.size = withSeparators(line.size);
        line.time = secondsOf(line.time);
        line.memory = memoryOf(line.memory);
        print(line, format);
        return true;
    }
    if (const std::string reason = skipReasonIn(result.output);
        result.status == 0 && !reason.empty()) {
        print({name, "", "", "", "skipped: " + reason}, format);
        return true;
    }
    print({name, "", "", "", "FAILED"}, format);
    std::fprintf(stderr, "%s\n", result.output.c_str());
    return false;
}

} // namespace

bool printLimits(const std::string& program, TableFormat format,
                 const std::vector<std::string>& names) {
    const std::vector<std::string> rows = allRows();
    for (const std::string& name : names) {
        if (std::find(rows.begin(), rows.end(), name) == rows.end()) {
            std::string text = "no row is called " + name + "; the rows are";
            for (const std::string& row : rows) {
                text += " " + row;
            }
            throw std::invalid_argument(text);
        }
    }
    printTitle(format);
    bool good = true;
    for (const std::string& name : names.empty() ? rows : names) {
        good = printRow(program, format, name) && good;
    }
    return good;
}

} // namespace klb::test
