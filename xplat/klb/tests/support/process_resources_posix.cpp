#include "process_resources.h"

#include <cstddef>
#include <filesystem>
#include <iterator>

#if defined(KLB_SANITIZED)
// GCC has no header for it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <fstream>

#include <malloc.h>
#include <unistd.h>
#endif

namespace klb::test {

namespace {

#if defined(KLB_SANITIZED)

std::int64_t heapBytes() {
    return static_cast<std::int64_t>(__sanitizer_get_current_allocated_bytes());
}

std::int64_t mappedBytes() {
    return 0;
}

#else

std::int64_t heapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

std::int64_t mappedBytes() {
    std::int64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

#endif

} // namespace

ProcessResources processResources() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return {heapBytes(), mappedBytes(), std::distance(begin(descriptors), end(descriptors))};
}

} // namespace klb::test
