#include "configuration.h"
#include "instruction_counter.h"
#include "library_session.h"
#include "temp_directory.h"
#include "toggle_sets.h"

#include "klb.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace klb::test {

namespace {

using namespace klb::bench;

constexpr std::size_t kFew = 1'000;
/// So many times that tables which double have room to spare as they have with few.
constexpr std::size_t kMany = 16 * kFew;

/// How much more a toggle may take among many toggles than among few.
constexpr double kLimit = 1.5;

/// The instructions that so many toggles take.
using InstructionsOfToggles = std::function<std::uint64_t(std::size_t count)>;

/// The work takes as long for each toggle, however many there are; or as much longer as is told.
void expectLinear(const InstructionsOfToggles& instructions, double growth = 1) {
    const auto ofEach = [&](std::size_t count) {
        return static_cast<double>(instructions(count)) / static_cast<double>(count);
    };
    // The first time is the one at which libraries set themselves up.
    ofEach(kFew);
    const double few = ofEach(kFew);
    const double many = ofEach(kMany);
    EXPECT_LE(many, kLimit * growth * few)
        << "a toggle among " << kFew << " takes " << few << " instructions, one among " << kMany
        << " takes " << many;
}

enum class Order { kOfKeys, kRandom };

/// How toggles look and in which order they are registered.
struct ToggleSet {
    const char* name;
    Shape shape;
    Order order;
};

constexpr ToggleSet kToggleSets[] = {
    {"flat, key order", kFlat, Order::kOfKeys},
    {"flat, random order", kFlat, Order::kRandom},
    {"groups, key order", kGroups, Order::kOfKeys},
    {"groups, random order", kGroups, Order::kRandom},
};

/// Sorting n toggles takes n log n comparisons.
double growthOfSorting(const ToggleSet& set) {
    return set.order == Order::kRandom ? std::log(kMany) / std::log(kFew) : 1;
}

std::vector<std::string> keysOf(const ToggleSet& set, std::size_t count) {
    std::vector<std::string> keys = makeKeys(set.shape, count);
    return set.order == Order::kRandom ? shuffled(std::move(keys)) : keys;
}

void registerAll(const std::vector<std::string>& keys, bool defaultValue) {
    for (const std::string& key : keys) {
        KLB_RegisterToggle(key.c_str(), defaultValue, kToken);
    }
}

void expectLinearRegistrations(Overrides overrides) {
    for (const ToggleSet& set : kToggleSets) {
        SCOPED_TRACE(set.name);
        expectLinear([&](std::size_t count) {
            const Configuration configuration(set.shape, count);
            const std::vector<std::string> keys = keysOf(set, count);
            const LoadedSession session(configuration, overrides);
            return instructionsOf([&] { registerAll(keys, false); });
        });
    }
}

TEST(LinearGrowth, OfRegistrations) {
    expectLinearRegistrations(Overrides::kOff);
}

TEST(LinearGrowth, OfRegistrationsWithOverrides) {
    expectLinearRegistrations(Overrides::kOn);
}

TEST(LinearGrowth, OfLoadingAPlainFile) {
    for (const Shape& shape : {kFlat, kGroups}) {
        SCOPED_TRACE(shape.groupSize == 0 ? "flat" : "groups");
        expectLinear([&](std::size_t count) {
            const Configuration configuration(shape, count);
            const LibrarySession session(kSystemId);
            return instructionsOf([&] {
                KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, kToken,
                                       configuration.file().c_str());
            });
        });
    }
}

TEST(LinearGrowth, OfASessionFromInitToTerm) {
    for (const ToggleSet& set : kToggleSets) {
        SCOPED_TRACE(set.name);
        expectLinear([&](std::size_t count) {
            const Configuration configuration(set.shape, count);
            const std::vector<std::string> keys = keysOf(set, count);
            return instructionsOf([&] {
                const LoadedSession session(configuration, Overrides::kOn);
                registerAll(keys, false);
            });
        });
    }
}

TEST(LinearGrowth, OfTheDefaultToggleJson) {
    for (const ToggleSet& set : kToggleSets) {
        SCOPED_TRACE(set.name);
        const auto report = [&](std::size_t count) {
            const LibrarySession session(kSystemId);
            registerAll(keysOf(set, count), false);
            return instructionsOf([] { KLB_GetDefaultToggleJson("Module", "1.0", nullptr, 0); });
        };
        expectLinear(report, growthOfSorting(set));
    }
}

TEST(LinearGrowth, OfTheOverrideInfoString) {
    for (const ToggleSet& set : kToggleSets) {
        SCOPED_TRACE(set.name);
        const auto report = [&](std::size_t count) {
            const Configuration configuration(set.shape, count);
            const LoadedSession session(configuration, Overrides::kOn);
            // Every other toggle differs.
            registerAll(keysOf(set, count), false);
            return instructionsOf([] { KLB_GetOverrideInfoString(nullptr, 0); });
        };
        expectLinear(report, growthOfSorting(set));
    }
}

} // namespace

} // namespace klb::test
