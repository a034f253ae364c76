#include "core/json.h"

#include "support/failing_allocation.h"

#include <gtest/gtest.h>

#include <string>

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

std::string cleansed;

void keepAndOverwrite(void* bytes, std::size_t size) {
    cleansed.append(static_cast<const char*>(bytes), size);
    std::memset(bytes, 0, size);
}

TEST(JsonAllocator, OverwritesWhatItGivesBack) {
    cleansed.clear();
    JsonAllocator allocator(keepAndOverwrite);
    void* block = allocator.Malloc(4);
    std::memcpy(block, "abcd", 4);
    block = allocator.Realloc(block, 4, 6);
    EXPECT_EQ(cleansed, "abcd");
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);
    std::memcpy(block, "ABCDEF", 6);
    block = allocator.Realloc(block, 6, 2);
    EXPECT_EQ(cleansed, "abcdABCDEF");
    EXPECT_EQ(std::memcmp(block, "AB", 2), 0);
    JsonAllocator::Free(block);
    EXPECT_EQ(cleansed, "abcdABCDEFAB");
    JsonAllocator::Free(nullptr);
}

TEST(JsonAllocator, TakesNoSizeThatDoesNotFit) {
    JsonAllocator allocator;
    [[maybe_unused]] void* volatile block = nullptr;
    EXPECT_THROW(block = allocator.Malloc(SIZE_MAX - 1), std::bad_alloc);
}

} // namespace
} // namespace klb
