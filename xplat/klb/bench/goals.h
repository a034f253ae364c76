#ifndef KLB_BENCH_GOALS_H
#define KLB_BENCH_GOALS_H

#include <cstddef>
#include <string_view>

namespace klb::bench {

/// What a figure is compared with; README.md describes each.
namespace floors {
inline constexpr std::string_view kMutex = "mutex";
inline constexpr std::string_view kMap = "map";
inline constexpr std::string_view kMapTwoThreads = "map, two threads";
inline constexpr std::string_view kRegisteredKey = "registered key";
inline constexpr std::string_view kRecords = "records";
inline constexpr std::string_view kThousand = "at 1000";
inline constexpr std::string_view kPrint = "print";
inline constexpr std::string_view kAppend = "append";
} // namespace floors

/// What a limit says of a row's value.
enum class Bound { kAtMost, kExactly, kReported };

/// The goal of one row, or of the same row at each number of toggles.
struct Goal {
    std::string_view what;
    /// A figure with a floor is judged by its ratio to it, one without by itself.
    std::string_view floor;
    /// The number of toggles.
    std::size_t count;
    Bound bound;
    double limit;
};

inline constexpr std::size_t kEachCount = 0;

inline constexpr Goal kGoals[] = {
    // Queries.
    {"KLB_GetToggle", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_GetToggle", floors::kMutex, 10, Bound::kAtMost, 2.5},
    {"KLB_GetToggle", floors::kMutex, 1'000, Bound::kAtMost, 3.0},
    {"KLB_GetDynamicToggle", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_GetDynamicToggle", floors::kMutex, 10, Bound::kAtMost, 2.5},
    {"KLB_GetDynamicToggle", floors::kMutex, 1'000, Bound::kAtMost, 3.0},
    {"KLB_SetDynamicToggle", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_SetDynamicToggle", floors::kMutex, 10, Bound::kAtMost, 2.5},
    {"KLB_SetDynamicToggle", floors::kMutex, 1'000, Bound::kAtMost, 3.0},
    {"KLB_IsToggleRegistered", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_IsToggleRegistered", floors::kMutex, 10, Bound::kAtMost, 2.5},
    {"KLB_IsToggleRegistered", floors::kMutex, 1'000, Bound::kAtMost, 3.0},
    {"KLB_IsDynamicToggleRegistered", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_IsDynamicToggleRegistered", floors::kMutex, 10, Bound::kAtMost, 2.5},
    {"KLB_IsDynamicToggleRegistered", floors::kMutex, 1'000, Bound::kAtMost, 3.0},
    {"KLB_GetToggle, unknown key", floors::kRegisteredKey, kEachCount, Bound::kAtMost, 1.0},
    {"KLB_GetToggle, two threads", floors::kMapTwoThreads, kEachCount, Bound::kReported, 0},

    // Registrations, per toggle.
    {"register, flat, key order", floors::kRecords, kEachCount, Bound::kAtMost, 1.5},
    {"register, flat, random order", floors::kRecords, kEachCount, Bound::kAtMost, 1.5},
    {"register, groups, key order", floors::kRecords, kEachCount, Bound::kAtMost, 1.5},
    {"register, groups, random order", floors::kRecords, kEachCount, Bound::kAtMost, 1.5},
    {"register with overrides, flat, key order", floors::kRecords, kEachCount, Bound::kAtMost, 1.5},
    {"register with overrides, flat, random order", floors::kRecords, kEachCount, Bound::kAtMost,
     1.5},
    {"register with overrides, groups, key order", floors::kRecords, kEachCount, Bound::kAtMost,
     1.5},
    {"register with overrides, groups, random order", floors::kRecords, kEachCount, Bound::kAtMost,
     1.5},
    {"register, flat, key order", floors::kThousand, 100'000, Bound::kAtMost, 1.5},
    {"register, flat, random order", floors::kThousand, 100'000, Bound::kAtMost, 3.0},
    {"register, groups, key order", floors::kThousand, 100'000, Bound::kAtMost, 1.5},
    {"register, groups, random order", floors::kThousand, 100'000, Bound::kAtMost, 3.0},
    {"register with overrides, flat, key order", floors::kThousand, 100'000, Bound::kAtMost, 1.5},
    {"register with overrides, flat, random order", floors::kThousand, 100'000, Bound::kAtMost,
     3.0},
    {"register with overrides, groups, key order", floors::kThousand, 100'000, Bound::kAtMost, 1.5},
    {"register with overrides, groups, random order", floors::kThousand, 100'000, Bound::kAtMost,
     3.0},

    // Reports.
    {"KLB_GetDefaultToggleJson, size, 1000 groups, key order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetDefaultToggleJson, text, 1000 groups, key order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetDefaultToggleJson, size, 1000 groups, random order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetDefaultToggleJson, text, 1000 groups, random order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetDefaultToggleJson, size, one group, key order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetDefaultToggleJson, text, one group, key order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetDefaultToggleJson, size, one group, random order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetDefaultToggleJson, text, one group, random order", floors::kPrint, 100'000,
     Bound::kAtMost, 2.5},
    {"KLB_GetOverrideInfoString, size", floors::kAppend, 100'000, Bound::kAtMost, 3.0},
    {"KLB_GetOverrideInfoString, text", floors::kAppend, 100'000, Bound::kAtMost, 3.0},
};

} // namespace klb::bench

#endif
