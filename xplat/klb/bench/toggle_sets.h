#ifndef KLB_BENCH_TOGGLE_SETS_H
#define KLB_BENCH_TOGGLE_SETS_H

#include <cstddef>
#include <string>
#include <vector>

namespace klb::bench {

/// The numbers of toggles that the table speaks of.
inline constexpr std::size_t kCounts[] = {10, 1'000, 100'000};
inline constexpr std::size_t kLargeCount = 100'000;

/// How the keys of a set of toggles look.
struct Shape {
    /// How many toggles a group has; 0 for keys without a group.
    std::size_t groupSize;
    /// Numbers have at least so many digits.
    int groupDigits = 1;
    int featureDigits = 1;
};

/// /feature<i>
inline constexpr Shape kFlat{0};
/// /group0/feature<i>
inline constexpr Shape kOneGroup{kLargeCount};
/// /group<k>/feature<i>
inline constexpr Shape kGroups{100};
// The same with 20 bytes to a key.
inline constexpr Shape kFlatOf20Bytes{0, 1, 12};
inline constexpr Shape kGroupsOf20Bytes{100, 3, 3};

/// The key of one toggle of a set.
std::string makeKey(const Shape& shape, std::size_t index);

/// The keys of a set, in the order of their bytes.
std::vector<std::string> makeKeys(const Shape& shape, std::size_t count);

/// The same in an order that is random and always the same.
std::vector<std::string> shuffled(std::vector<std::string> keys);

/// The members of a JSON object that gives each key of makeKeys() a boolean, every other one true,
/// without the braces around them.
std::string makeMembers(const Shape& shape, std::size_t count);

/// A toggle file with these members.
std::string toggleFileText(const std::string& members);

/// An override file with these members.
std::string overrideFileText(const std::string& members);

} // namespace klb::bench

#endif
