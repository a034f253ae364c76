#include "core/json.h"

#include "support/failing_allocation.h"

#include <gtest/gtest.h>

namespace klb {
namespace {

TEST(JsonAllocator, ThrowsWhereMallocFails) {
    JsonAllocator allocator;
    // A block that nobody looks at need not be allocated at all.
    [[maybe_unused]] void* volatile block = nullptr;
    const test::FailingAllocation failure(1);
    EXPECT_THROW(block = allocator.Malloc(8), std::bad_alloc);
}

TEST(JsonAllocator, KeepsTheOldBlockWhenGrowingFails) {
    JsonAllocator allocator;
    auto* block = static_cast<char*>(allocator.Malloc(1));
    *block = 'x';
    {
        const test::FailingAllocation failure(1);
        [[maybe_unused]] void* volatile grown = nullptr;
        EXPECT_THROW(grown = allocator.Realloc(block, 1, 100), std::bad_alloc);
    }
    EXPECT_EQ(*block, 'x');
    JsonAllocator::Free(block);
}

TEST(JsonAllocator, NoBytesAreNoBlock) {
    JsonAllocator allocator;
    EXPECT_EQ(allocator.Malloc(0), nullptr);
    EXPECT_EQ(allocator.Realloc(allocator.Malloc(4), 4, 0), nullptr);
}

} // namespace
} // namespace klb
