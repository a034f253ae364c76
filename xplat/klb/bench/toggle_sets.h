#ifndef KLB_BENCH_TOGGLE_SETS_H
#define KLB_BENCH_TOGGLE_SETS_H

#include <cstddef>
#include <string>
#include <vector>

namespace klb::bench {

/// The numbers of toggles that the table speaks of.
inline constexpr std::size_t kCounts[] = {10, 1'000, 100'000};
inline constexpr std::size_t kLargeCount = 100'000;

/// How the keys of a set of toggles fall into groups.
enum class Shape {
    /// /feature<i>
    kFlat,
    /// /group0/feature<i>
    kOneGroup,
    /// /group<k>/feature<i>, 100 toggles to a group
    kGroups
};

/// The key of one toggle of a set.
std::string makeKey(Shape shape, std::size_t index);

/// The keys of a set, in the order of their bytes.
std::vector<std::string> makeKeys(Shape shape, std::size_t count);

/// The same in an order that is random and always the same.
std::vector<std::string> shuffled(std::vector<std::string> keys);

/// The members of a JSON object that gives each key of makeKeys() a boolean, every other one true,
/// without the braces around them.
std::string makeMembers(Shape shape, std::size_t count);

/// A toggle file with these members.
std::string toggleFileText(const std::string& members);

/// An override file with these members.
std::string overrideFileText(const std::string& members);

} // namespace klb::bench

#endif
