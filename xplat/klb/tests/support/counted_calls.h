#ifndef KLB_TESTS_SUPPORT_COUNTED_CALLS_H
#define KLB_TESTS_SUPPORT_COUNTED_CALLS_H

#include <cstdint>

namespace klb::test {

/// What this process has called since its start, the libraries in it included.
struct CountedCalls {
    std::int64_t allocations = 0;
    std::int64_t locks = 0;
};

CountedCalls countedCalls() noexcept;

/// What is in use on its heap, with what the allocator keeps beside each block.
std::int64_t heapBytes() noexcept;

} // namespace klb::test

#endif
