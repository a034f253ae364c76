#include "seconds.h"

#include <cstddef>
#include <vector>

namespace klb::bench {

void settleHeap() {
    // Large enough to make the GNU allocator merge free blocks, too small for a mapping of its own.
    constexpr std::size_t kLargeBlock = 100'000;
    std::vector<char> block(kLargeBlock);
    // Else the compiler may leave the block out.
    *static_cast<volatile char*>(block.data()) = 1;
}

} // namespace klb::bench
