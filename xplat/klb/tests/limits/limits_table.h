#ifndef KLB_TESTS_LIMITS_LIMITS_TABLE_H
#define KLB_TESTS_LIMITS_LIMITS_TABLE_H

#include <string>
#include <vector>

namespace klb::test {

enum class TableFormat { kText, kMarkdown };

/// Runs the tests named, or all, whole and each in a process of its own, and prints the table of
/// what they say. False when one of them failed.
bool printLimits(const std::string& program, TableFormat format,
                 const std::vector<std::string>& names);

} // namespace klb::test

#endif
