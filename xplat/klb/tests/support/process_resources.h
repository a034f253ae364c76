#ifndef KLB_TESTS_SUPPORT_PROCESS_RESOURCES_H
#define KLB_TESTS_SUPPORT_PROCESS_RESOURCES_H

#include <cstdint>

namespace klb::test {

/// What this process holds at the moment.
struct ProcessResources {
    /// Allocated from its heaps, in bytes.
    std::int64_t heapBytes = 0;
    /// Its address space in use, in bytes. 0 under sanitizers, whose allocator keeps what is freed.
    std::int64_t mappedBytes = 0;
    /// File descriptors, or handles, in use; more of them make it greater.
    std::int64_t handles = 0;
};

ProcessResources processResources();

} // namespace klb::test

#endif
