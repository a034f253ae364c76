#ifndef KLB_BENCH_GOALS_H
#define KLB_BENCH_GOALS_H

#include <cstddef>
#include <string_view>

namespace klb::bench {

/// What a figure is compared with; README.md describes each.
namespace floors {
inline constexpr std::string_view kMap = "map";
inline constexpr std::string_view kMapTwoThreads = "map, two threads";
inline constexpr std::string_view kRegisteredKey = "registered key";
inline constexpr std::string_view kRecords = "records";
inline constexpr std::string_view kThousand = "at 1000";
inline constexpr std::string_view kPrint = "print";
inline constexpr std::string_view kAppend = "append";
inline constexpr std::string_view kParse = "parse";
inline constexpr std::string_view kParseAndRecords = "parse + records";
inline constexpr std::string_view kCryptoCalls = "crypto calls";
inline constexpr std::string_view kProtectedLoad = "whole load";
inline constexpr std::string_view kCryptoStart = "libcrypto";
/// The row has no floor: its figure is a count.
inline constexpr std::string_view kNone = "";
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
inline constexpr std::size_t kNoToggles = 0;

inline constexpr Goal kGoals[] = {
    // Queries.
    {"KLB_GetToggle", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_GetDynamicToggle", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_SetDynamicToggle", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_IsToggleRegistered", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_IsDynamicToggleRegistered", floors::kMap, kEachCount, Bound::kAtMost, 1.25},
    {"KLB_GetToggle, unknown key", floors::kRegisteredKey, kEachCount, Bound::kAtMost, 1.0},
    {"KLB_GetToggle, two threads", floors::kMapTwoThreads, kEachCount, Bound::kAtMost, 1.1},
    {"allocations of KLB_GetToggle", floors::kNone, 1'000, Bound::kExactly, 0},
    {"locks of KLB_GetToggle", floors::kNone, 1'000, Bound::kExactly, 1},
    {"allocations of KLB_GetDynamicToggle", floors::kNone, 1'000, Bound::kExactly, 0},
    {"locks of KLB_GetDynamicToggle", floors::kNone, 1'000, Bound::kExactly, 1},
    {"allocations of KLB_SetDynamicToggle", floors::kNone, 1'000, Bound::kExactly, 0},
    {"locks of KLB_SetDynamicToggle", floors::kNone, 1'000, Bound::kExactly, 1},
    {"allocations of KLB_IsToggleRegistered", floors::kNone, 1'000, Bound::kExactly, 0},
    {"locks of KLB_IsToggleRegistered", floors::kNone, 1'000, Bound::kExactly, 1},
    {"allocations of KLB_IsDynamicToggleRegistered", floors::kNone, 1'000, Bound::kExactly, 0},
    {"locks of KLB_IsDynamicToggleRegistered", floors::kNone, 1'000, Bound::kExactly, 1},
    {"allocations of KLB_GetToggle, unknown key", floors::kNone, 1'000, Bound::kExactly, 0},
    {"locks of KLB_GetToggle, unknown key", floors::kNone, 1'000, Bound::kExactly, 1},

    // Files.
    {"load a plain file, flat", floors::kParse, 10, Bound::kReported, 0},
    {"load a plain file, flat", floors::kParse, 1'000, Bound::kReported, 0},
    {"load a plain file, flat", floors::kParse, 100'000, Bound::kAtMost, 1.5},
    {"load a plain file, groups", floors::kParse, 10, Bound::kReported, 0},
    {"load a plain file, groups", floors::kParse, 1'000, Bound::kReported, 0},
    {"load a plain file, groups", floors::kParse, 100'000, Bound::kAtMost, 1.5},
    {"load a protected file of 1 MB", floors::kCryptoCalls, 50'000, Bound::kAtMost, 1.1},
    {"of which parse", floors::kProtectedLoad, 50'000, Bound::kReported, 0},

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
    // How plain records grow, which no registry with ordered and hash maps can grow less than.
    {"plain records, key order", floors::kThousand, 100'000, Bound::kReported, 0},
    {"plain records, random order", floors::kThousand, 100'000, Bound::kReported, 0},

    // Memory.
    {"bytes for a toggle, flat", floors::kNone, 100'000, Bound::kAtMost, 400},
    {"bytes for a toggle, groups", floors::kNone, 100'000, Bound::kAtMost, 400},
    {"bytes for a toggle, flat, with overrides", floors::kNone, 100'000, Bound::kAtMost, 400},
    {"bytes for a toggle, groups, with overrides", floors::kNone, 100'000, Bound::kAtMost, 400},
    {"bytes beside the document of a loaded file", floors::kNone, 100'000, Bound::kAtMost, 65'536},

    // Start and end.
    {"load the library and KLB_Init", floors::kCryptoStart, kNoToggles, Bound::kAtMost, 1.3},
    {"KLB_Init to KLB_Term with one file", floors::kParseAndRecords, 100, Bound::kAtMost, 3.0},

    // Reports.
    {"KLB_GetDefaultToggleJson, size, first after random order", floors::kPrint, 100'000,
     Bound::kReported, 0},
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
