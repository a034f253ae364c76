#include "configuration.h"
#include "library_session.h"
#include "measure.h"
#include "plain_records.h"
#include "rows.h"
#include "temp_directory.h"
#include "toggle_sets.h"

#include "klb.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <rapidjson/document.h>

namespace klb::bench {

namespace {

using klb::test::LibrarySession;
using klb::test::TempDirectory;

constexpr std::size_t kTogglesOfSession = 100;
constexpr std::size_t kSessionsOfRun = 50;

double timeLoad(const std::string& file) {
    const LibrarySession session(kSystemId);
    return secondsOf(
        [&] { KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, kToken, file.c_str()); });
}

double timeParse(const std::string& text) {
    rapidjson::Document document;
    const double seconds = secondsOf([&] { document.Parse(text.c_str()); });
    if (document.HasParseError()) {
        throw std::logic_error("RapidJSON refuses the toggle file");
    }
    return seconds;
}

void compareWithParse(benchmark::State& state, const Shape& shape, std::size_t count) {
    const TempDirectory files;
    const std::string text = toggleFileText(makeMembers(shape, count));
    const std::string file = files.write("toggles.json", text);
    const std::size_t runs = std::max<std::size_t>(1, 10'000 / count);
    measurePairs(
        state, [&] { return meanOf(runs, [&] { return timeLoad(file); }); },
        [&] { return meanOf(runs, [&] { return timeParse(text); }); });
}

struct FileCloser {
    void operator()(std::FILE* file) const noexcept {
        std::fclose(file);
    }
};

std::string readFile(const std::string& name) {
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(name.c_str(), "rb"));
    if (!file) {
        throw std::runtime_error("cannot open " + name);
    }
    // The text is read in one piece.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    std::fseek(file.get(), 0, SEEK_END);
    std::string text(static_cast<std::size_t>(std::ftell(file.get())), '\0');
    std::rewind(file.get());
    if (std::fread(text.data(), 1, text.size(), file.get()) != text.size()) {
        throw std::runtime_error("cannot read " + name);
    }
    return text;
}

/// From KLB_Init() to KLB_Term().
double timeSession(const std::string& file, const std::vector<std::string>& keys) {
    return secondsOf([&] {
        const LibrarySession session(kSystemId);
        KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, kToken, file.c_str());
        for (const std::string& key : keys) {
            KLB_RegisterToggle(key.c_str(), false, kToken);
        }
    });
}

/// What every session has to do: get the content of the file, make records. Destroying both is not
/// timed.
double timeParseAndRecords(const std::string& file, const std::vector<std::string>& keys) {
    rapidjson::Document document;
    PlainRecords records;
    const double seconds = secondsOf([&] {
        document.Parse(readFile(file).c_str());
        records.addAll(keys);
    });
    if (document.HasParseError()) {
        throw std::logic_error("RapidJSON refuses the toggle file");
    }
    return seconds;
}

void compareSession(benchmark::State& state) {
    const TempDirectory files;
    const std::string file =
        files.write("toggles.json", toggleFileText(makeMembers(kGroups, kTogglesOfSession)));
    const std::vector<std::string> keys = makeKeys(kGroups, kTogglesOfSession);
    measurePairs(
        state, [&] { return meanOf(kSessionsOfRun, [&] { return timeSession(file, keys); }); },
        [&] { return meanOf(kSessionsOfRun, [&] { return timeParseAndRecords(file, keys); }); });
}

} // namespace

void addLoadRows() {
    for (const std::size_t count : kCounts) {
        addRow("load a plain file, flat", floors::kParse, count, Pairs::kSome,
               [count](auto& state) { compareWithParse(state, kFlat, count); });
        addRow("load a plain file, groups", floors::kParse, count, Pairs::kSome,
               [count](auto& state) { compareWithParse(state, kGroups, count); });
    }
    addRow("KLB_Init to KLB_Term with one file", floors::kParseAndRecords, kTogglesOfSession,
           Pairs::kSome, &compareSession);
}

} // namespace klb::bench
