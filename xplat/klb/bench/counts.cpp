// Counts what the library takes: calls of the allocator, locks and memory. Prints a line with name
// and value for each row. A program of its own, so that counting costs no time in the one that
// measures time.
#include "configuration.h"
#if defined(KLB_BENCH_COUNTS_CALLS)
#include "counted_calls.h"
#else
#include "process_resources.h"
#endif
#include "queries.h"
#include "toggle_sets.h"

#include "klb.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <rapidjson/document.h>

namespace klb::bench {

namespace {

#if defined(KLB_BENCH_COUNTS_CALLS)
using klb::test::CountedCalls;
using klb::test::countedCalls;
using klb::test::heapBytes;
#else
/// What is in use on the process's heaps, without what they keep beside each block.
std::int64_t heapBytes() {
    return klb::test::processResources().heapBytes;
}
#endif

void printRow(const std::string& what, std::size_t count, double value) {
    std::printf("%s/%zu\t%.10g\n", what.c_str(), count, value);
}

#if defined(KLB_BENCH_COUNTS_CALLS)

constexpr std::size_t kCountOfQueries = 1'000;

void countCalls(const std::string& what, const std::vector<std::string>& keys, const Query& query) {
    const std::vector<const char*> queries = drawQueries(keys);
    const CountedCalls before = countedCalls();
    query.askAll(queries);
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

#endif

/// What the toggles take when the files are loaded already.
void countMemoryOfToggles(const std::string& what, const Shape& shape, Overrides overrides) {
    const Configuration configuration(shape, kLargeCount);
    const std::vector<std::string> keys = shuffled(makeKeys(shape, kLargeCount));
    const LoadedSession session(configuration, overrides);
    const std::int64_t before = heapBytes();
    for (const std::string& key : keys) {
        KLB_RegisterToggle(key.c_str(), false, kToken);
    }
    printRow("bytes for a toggle, " + what, kLargeCount,
             static_cast<double>(heapBytes() - before) / static_cast<double>(kLargeCount));
}

/// What a loaded file takes beyond its document.
void countMemoryOfFile() {
    const std::string text = toggleFileText(makeMembers(kFlat, kLargeCount));
    const klb::test::TempDirectory files;
    const std::string file = files.write("toggles.json", text);

    const std::int64_t beforeParse = heapBytes();
    rapidjson::Document document;
    document.Parse(text.c_str());
    const std::int64_t bytesOfDocument = heapBytes() - beforeParse;

    const klb::test::LibrarySession session(kSystemId);
    const std::int64_t beforeLoad = heapBytes();
    KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, kToken, file.c_str());
    const std::int64_t bytesOfFile = heapBytes() - beforeLoad;
    printRow("bytes beside the document of a loaded file", kLargeCount,
             static_cast<double>(bytesOfFile - bytesOfDocument));
}

void countEverything() {
#if defined(KLB_BENCH_COUNTS_CALLS)
    countQueries();
#endif
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
