#include "support/failing_allocation.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <malloc.h>
#include <openssl/crypto.h>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);
}

namespace {

using klb::test::FailureExtent;
using klb::test::MemorySource;

// Plain variables: where thread-local ones are emulated, they come from malloc themselves.
struct Failure {
    std::size_t n = 0;
    MemorySource source = MemorySource::Library;
    FailureExtent extent = FailureExtent::Once;
    std::size_t allocations = 0;
    bool isWatching = false;

    bool concerns(MemorySource asking) const noexcept {
        return asking == source ||
               (source == MemorySource::Library && asking != MemorySource::Crypto);
    }
    bool mustFail(MemorySource asking) noexcept {
        if (!isWatching || !concerns(asking)) {
            return false;
        }
        ++allocations;
        return n != 0 && (extent == FailureExtent::Once ? allocations == n : allocations >= n);
    }
};

Failure failure;

/// The blocks of one source; threads of other tests come here too.
class Blocks {
public:
    constexpr explicit Blocks(MemorySource source) noexcept : source_(source) {}

    void* allocate(std::size_t size) noexcept {
        return counted(failure.mustFail(source_) ? nullptr : __real_malloc(size));
    }
    void* reallocate(void* block, std::size_t size) noexcept {
        if (failure.mustFail(source_)) {
            return nullptr;
        }
        void* const resized = __real_realloc(block, size);
        return block == nullptr ? counted(resized) : resized;
    }
    void release(void* block) noexcept {
        if (block != nullptr) {
            live_.fetch_sub(1, std::memory_order_relaxed);
            __real_free(block);
        }
    }
    std::ptrdiff_t live() const noexcept {
        return live_.load(std::memory_order_relaxed);
    }

private:
    void* counted(void* block) noexcept {
        if (block != nullptr) {
            live_.fetch_add(1, std::memory_order_relaxed);
        }
        return block;
    }

    MemorySource source_;
    std::atomic<std::ptrdiff_t> live_{0};
};

constinit Blocks newBlocks(MemorySource::New);
constinit Blocks mallocBlocks(MemorySource::Malloc);
constinit Blocks cryptoBlocks(MemorySource::Crypto);

std::string_view watchedText;
int watchedTextSightings = 0;
bool watchesCrypto = false;

std::size_t sizeOf(void* block) noexcept {
#if defined(_WIN32)
    return _msize(block);
#else
    return malloc_usable_size(block);
#endif
}

/// What others left in the memory of a new block must not count.
void clearNew(void* block) noexcept {
    if (!watchedText.empty()) {
        std::memset(block, 0, sizeOf(block));
    }
}

void lookAt(void* block) noexcept {
    if (watchedText.empty() || block == nullptr) {
        return;
    }
    const std::string_view bytes(static_cast<const char*>(block), sizeOf(block));
    if (bytes.find(watchedText) != std::string_view::npos) {
        ++watchedTextSightings;
    }
}

void* cryptoMalloc(std::size_t size, const char*, int) {
    void* const block = cryptoBlocks.allocate(size);
    if (block != nullptr) {
        clearNew(block);
    }
    return block;
}

void* cryptoRealloc(void* block, std::size_t size, const char*, int) {
    return cryptoBlocks.reallocate(block, size);
}

void cryptoFree(void* block, const char*, int) {
    if (watchesCrypto) {
        lookAt(block);
    }
    cryptoBlocks.release(block);
}

// The crypto library takes other functions only before its first allocation.
[[maybe_unused]] const bool hooked =
    CRYPTO_set_mem_functions(cryptoMalloc, cryptoRealloc, cryptoFree) == 1;

} // namespace

namespace klb::test {

FailingAllocation::FailingAllocation(std::size_t n, MemorySource source,
                                     FailureExtent extent) noexcept {
    failure = {.n = n, .source = source, .extent = extent, .allocations = 0, .isWatching = true};
}

FailingAllocation::~FailingAllocation() {
    failure.isWatching = false;
}

bool FailingAllocation::happened() const noexcept {
    return failure.n != 0 && failure.allocations >= failure.n;
}

std::size_t FailingAllocation::allocations() const noexcept {
    return failure.allocations;
}

LiveBlocks LiveBlocks::now() noexcept {
    return {newBlocks.live(), mallocBlocks.live(), cryptoBlocks.live()};
}

FreedMemoryWatch::FreedMemoryWatch(std::string_view text, WatchedMemory memory) noexcept {
    watchedText = text;
    watchesCrypto = memory == WatchedMemory::OfCryptoLibraryToo;
    watchedTextSightings = 0;
}

FreedMemoryWatch::~FreedMemoryWatch() {
    watchedText = {};
    watchesCrypto = false;
}

int FreedMemoryWatch::sightings() const noexcept {
    return watchedTextSightings;
}

} // namespace klb::test

void* __wrap_malloc(std::size_t size) {
    void* const block = mallocBlocks.allocate(size);
    if (block != nullptr) {
        clearNew(block);
    }
    return block;
}

void* __wrap_realloc(void* block, std::size_t size) {
    return mallocBlocks.reallocate(block, size);
}

void __wrap_free(void* block) {
    lookAt(block);
    mallocBlocks.release(block);
}

void* operator new(std::size_t size) {
    void* const block = newBlocks.allocate(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    clearNew(block);
    return block;
}

void operator delete(void* block) noexcept {
    lookAt(block);
    newBlocks.release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    lookAt(block);
    newBlocks.release(block);
}

// Blocks of greater alignment lie inside larger ones, whose addresses stand before them.
void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto boundary = static_cast<std::size_t>(alignment);
    std::size_t space = size + boundary;
    void* const block = ::operator new(sizeof(void*) + space);
    void* aligned = static_cast<char*>(block) + sizeof(void*);
    std::align(boundary, size, aligned, space);
    static_cast<void**>(aligned)[-1] = block;
    return aligned;
}

void operator delete(void* block, std::align_val_t) noexcept {
    if (block != nullptr) {
        ::operator delete(static_cast<void**>(block)[-1]);
    }
}

void operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
    ::operator delete(block, alignment);
}
