#ifndef KLB_TESTS_PERFORMANCE_INSTRUCTION_COUNTER_H
#define KLB_TESTS_PERFORMANCE_INSTRUCTION_COUNTER_H

#include <cstdint>
#include <functional>

namespace klb::test {

/// The instructions that the work takes, those of libraries included, those of the system not.
/// Throws when the program does not run under Callgrind.
std::uint64_t instructionsOf(const std::function<void()>& work);

/// Whether the program runs under Callgrind already.
bool runsUnderCallgrind();

/// Runs this program again, under Callgrind and with functions of libraries bound from the start;
/// gives its exit status.
int runUnderCallgrind(char** arguments);

} // namespace klb::test

#endif
