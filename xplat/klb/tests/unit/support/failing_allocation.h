#ifndef KLB_TESTS_UNIT_SUPPORT_FAILING_ALLOCATION_H
#define KLB_TESTS_UNIT_SUPPORT_FAILING_ALLOCATION_H

#include <cstddef>
#include <string_view>

namespace klb::test {

/// Makes one allocation fail: the n-th, counted from 1, of operator new and of the
/// library's calls of malloc and realloc together. For tests with one thread.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t n) noexcept;
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether the n-th allocation has been reached.
    bool happened() const noexcept;
};

/// Makes the n-th allocation of the crypto library fail, counted from 1.
class FailingCryptoAllocation {
public:
    explicit FailingCryptoAllocation(std::size_t n) noexcept;
    ~FailingCryptoAllocation();
    FailingCryptoAllocation(const FailingCryptoAllocation&) = delete;
    FailingCryptoAllocation& operator=(const FailingCryptoAllocation&) = delete;

    /// Whether the n-th allocation has been reached.
    bool happened() const noexcept;
};

enum class WatchedMemory { OfLibrary, OfCryptoLibraryToo };

/// Looks for a text in every block that the library gives back, through operator delete or free.
class FreedMemoryWatch {
public:
    explicit FreedMemoryWatch(std::string_view text,
                              WatchedMemory memory = WatchedMemory::OfLibrary) noexcept;
    ~FreedMemoryWatch();
    FreedMemoryWatch(const FreedMemoryWatch&) = delete;
    FreedMemoryWatch& operator=(const FreedMemoryWatch&) = delete;

    /// In how many blocks the text was found.
    int sightings() const noexcept;
};

} // namespace klb::test

#endif
