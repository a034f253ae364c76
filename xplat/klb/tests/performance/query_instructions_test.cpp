#include "configuration.h"
#include "instruction_counter.h"
#include "locked_map.h"
#include "queries.h"
#include "toggle_sets.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace klb::test {

namespace {

using namespace klb::bench;

constexpr std::size_t kKeys[] = {10, 1'000, 10'000};

/// How much more than the floor a query may take.
constexpr double kLimit = 1.25;

std::vector<const char*> drawSomeQueries(const std::vector<std::string>& keys) {
    constexpr std::size_t kQueries = 10'000;
    std::vector<const char*> queries = drawQueries(keys);
    queries.resize(kQueries);
    return queries;
}

/// Instructions for one call.
template <class AskAll>
double instructionsOfEach(const std::vector<const char*>& queries, const AskAll& askAll) {
    askAll(queries);
    return static_cast<double>(instructionsOf([&] { askAll(queries); })) /
           static_cast<double>(queries.size());
}

/// A function as an export is one, with a result that the compiler must make.
__attribute__((noinline)) void findLocked(LockedMap& map, const char* key) {
    const PlainRecord* const found = map.find(key);
    asm volatile("" : : "r"(found));
}

TEST(QueryInstructions, AreAtMostAQuarterMoreThanThoseOfALockedMap) {
    for (const std::size_t count : kKeys) {
        const std::vector<std::string> keys = makeKeys(kGroups, count);
        const std::vector<const char*> queries = drawSomeQueries(keys);
        LockedMap map(keys);
        const double floor = instructionsOfEach(queries, [&](const std::vector<const char*>& all) {
            for (const char* key : all) {
                findLocked(map, key);
            }
        });
        for (const Query& query : allQueries()) {
            const QuerySession session(keys, query.dynamic);
            EXPECT_LE(instructionsOfEach(queries, query.askAll), kLimit * floor)
                << query.what << " at " << count << " keys; the floor is " << floor;
        }
    }
}

TEST(QueryInstructions, OfAnUnknownKeyAreAtMostThoseOfARegisteredOne) {
    for (const std::size_t count : kKeys) {
        const std::vector<std::string> known = makeKeys(kGroups, count);
        const std::vector<std::string> unknown = makeUnknownKeys(known);
        for (const Query& query : allQueries()) {
            if (query.refusesUnknownKeys) {
                continue;
            }
            const QuerySession session(known, query.dynamic);
            EXPECT_LE(instructionsOfEach(drawSomeQueries(unknown), query.askAll),
                      instructionsOfEach(drawSomeQueries(known), query.askAll))
                << query.what << " at " << count << " keys";
        }
    }
}

} // namespace

} // namespace klb::test
