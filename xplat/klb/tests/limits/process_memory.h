#ifndef KLB_TESTS_LIMITS_PROCESS_MEMORY_H
#define KLB_TESTS_LIMITS_PROCESS_MEMORY_H

#include <cstdint>

namespace klb::test {

/// The most memory, in bytes, that this process has had at a time; what was never touched does not
/// count.
std::uint64_t peakMemory();

/// How much memory the machine could still give to this process.
std::uint64_t availableMemory();

} // namespace klb::test

#endif
