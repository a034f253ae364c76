#ifndef KLB_TESTS_UNIT_SUPPORT_FAILING_ALLOCATION_H
#define KLB_TESTS_UNIT_SUPPORT_FAILING_ALLOCATION_H

#include <cstddef>
#include <string_view>

namespace klb::test {

/// Who takes memory: operator new, the library's calls of malloc and realloc, both of these, or the
/// crypto library.
enum class MemorySource { New, Malloc, Library, Crypto };

enum class FailureExtent { Once, FromThereOn };

/// Makes the n-th allocation of a source fail, counted from 1, or that and all later ones; none for
/// 0. One at a time, in tests with one thread.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t n, MemorySource source = MemorySource::Library,
                               FailureExtent extent = FailureExtent::Once) noexcept;
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether the n-th allocation has been reached.
    bool happened() const noexcept;

    /// How many allocations of the source there were, those that failed included.
    std::size_t allocations() const noexcept;
};

/// How many blocks of each source are in use.
struct LiveBlocks {
    std::ptrdiff_t ofNew = 0;
    std::ptrdiff_t ofMalloc = 0;
    std::ptrdiff_t ofCrypto = 0;

    static LiveBlocks now() noexcept;

    bool operator==(const LiveBlocks&) const = default;
    LiveBlocks operator-(const LiveBlocks& other) const noexcept {
        return {ofNew - other.ofNew, ofMalloc - other.ofMalloc, ofCrypto - other.ofCrypto};
    }
    LiveBlocks& operator+=(const LiveBlocks& other) noexcept {
        ofNew += other.ofNew;
        ofMalloc += other.ofMalloc;
        ofCrypto += other.ofCrypto;
        return *this;
    }
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
