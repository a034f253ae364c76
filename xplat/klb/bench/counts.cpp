// Counts what the library takes: calls of the allocator, locks and memory. Prints a line "NAME
// VALUE" for each row, named as the row. A program of its own, so that counting costs no time in
// the one that measures time.
#include "configuration.h"
#include "counted_calls.h"
#include "queries.h"
#include "toggle_sets.h"

#include "klb.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <rapidjson/document.h>

namespace klb::bench {

namespace {

constexpr std::size_t kCountOfQueries = 1'000;

void printRow(const std::string& what, std::size_t count, double value) {
    std::printf("%s/%zu\t%.10g\n", what.c_str(), count, value);
}

void countCalls(const std::string& what, const std::vector<std::string>& keys, const Query& query) {
    const std::vector<const char*> queries = drawQueries(keys);
    const CountedCalls before = countedCalls();
    for (const char* key : queries) {
        query.call(key);
    }
    const CountedCalls after = countedCalls();
    const double calls = static_cast<double>(queries.size());
    printRow("allocations of " + what, keys.size(),
             static_cast<double>(after.allocations - before.allocations) / calls);
    printRow("locks of " + what, keys.size(),
             static_cast<double>(after.locks - before.locks) / calls);
}

void countQueries() {
    const std::vector<std::string> keys = makeKeys(kGroups, kCountOfQueries);
    for (const Query& query : allQueries()) {
        const QuerySession session(keys, query.dynamic);
        countCalls(std::string(query.what), keys, query);
    }
    const QuerySession session(keys, false);
    countCalls("KLB_GetToggle, unknown key", makeUnknownKeys(keys), getToggleQuery());
}

/// What the toggles take when the files are loaded already.
void countMemoryOfToggles(const std::string& what, const Shape& shape, Overrides overrides) {
    const Configuration configuration(shape, kLargeCount);
    const std::vector<std::string> keys = shuffled(makeKeys(shape, kLargeCount));
    const LoadedSession session(configuration, overrides);
    const CountedCalls before = countedCalls();
    for (const std::string& key : keys) {
        KLB_RegisterToggle(key.c_str(), false, kToken);
    }
    const CountedCalls after = countedCalls();
    printRow("bytes for a toggle, " + what, kLargeCount,
             static_cast<double>(after.bytes - before.bytes) / static_cast<double>(kLargeCount));
}

/// What a loaded file takes beyond its document.
void countMemoryOfFile() {
    const std::string text = toggleFileText(makeMembers(kFlat, kLargeCount));
    const klb::test::TempDirectory files;
    const std::string file = files.write("toggles.json", text);

    const CountedCalls beforeParse = countedCalls();
    rapidjson::Document document;
    document.Parse(text.c_str());
    const CountedCalls afterParse = countedCalls();

    const klb::test::LibrarySession session(kSystemId);
    const CountedCalls beforeLoad = countedCalls();
    KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, kToken, file.c_str());
    const CountedCalls afterLoad = countedCalls();
    printRow("bytes beside the document of a loaded file", kLargeCount,
             static_cast<double>((afterLoad.bytes - beforeLoad.bytes) -
                                 (afterParse.bytes - beforeParse.bytes)));
}

void countEverything() {
    countQueries();
    countMemoryOfToggles("flat", kFlatOf20Bytes, Overrides::kOff);
    countMemoryOfToggles("groups", kGroupsOf20Bytes, Overrides::kOff);
    countMemoryOfToggles("flat, with overrides", kFlatOf20Bytes, Overrides::kOn);
    countMemoryOfToggles("groups, with overrides", kGroupsOf20Bytes, Overrides::kOn);
    countMemoryOfFile();
}

} // namespace

} // namespace klb::bench

int main() {
    try {
        klb::bench::countEverything();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "klb_bench_counts: %s\n", error.what());
        return 1;
    }
}
