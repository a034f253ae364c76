#include "support/failing_allocation.h"

#include <cstdlib>
#include <cstring>
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

// Plain variables: where thread-local ones are emulated, they come from malloc themselves.
struct Countdown {
    std::size_t remaining = 0;
    bool failed = false;

    void start(std::size_t n) noexcept {
        failed = false;
        remaining = n;
    }
    bool mustFail() noexcept {
        if (remaining == 0 || --remaining != 0) {
            return false;
        }
        failed = true;
        return true;
    }
};

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

Countdown ofLibrary;
Countdown ofCrypto;

void* cryptoMalloc(std::size_t size, const char*, int) {
    void* block = ofCrypto.mustFail() ? nullptr : __real_malloc(size);
    if (block != nullptr) {
        clearNew(block);
    }
    return block;
}

void* cryptoRealloc(void* block, std::size_t size, const char*, int) {
    return ofCrypto.mustFail() ? nullptr : __real_realloc(block, size);
}

void cryptoFree(void* block, const char*, int) {
    if (watchesCrypto) {
        lookAt(block);
    }
    __real_free(block);
}

// The crypto library takes other functions only before its first allocation.
[[maybe_unused]] const bool hooked =
    CRYPTO_set_mem_functions(cryptoMalloc, cryptoRealloc, cryptoFree) == 1;

} // namespace

namespace klb::test {

FailingAllocation::FailingAllocation(std::size_t n) noexcept {
    ofLibrary.start(n);
}

FailingAllocation::~FailingAllocation() {
    ofLibrary.remaining = 0;
}

bool FailingAllocation::happened() const noexcept {
    return ofLibrary.failed;
}

FailingCryptoAllocation::FailingCryptoAllocation(std::size_t n) noexcept {
    ofCrypto.start(n);
}

FailingCryptoAllocation::~FailingCryptoAllocation() {
    ofCrypto.remaining = 0;
}

bool FailingCryptoAllocation::happened() const noexcept {
    return ofCrypto.failed;
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
    void* block = ofLibrary.mustFail() ? nullptr : __real_malloc(size);
    if (block != nullptr) {
        clearNew(block);
    }
    return block;
}

void* __wrap_realloc(void* block, std::size_t size) {
    return ofLibrary.mustFail() ? nullptr : __real_realloc(block, size);
}

void __wrap_free(void* block) {
    lookAt(block);
    __real_free(block);
}

void* operator new(std::size_t size) {
    void* block = ofLibrary.mustFail() ? nullptr : __real_malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    clearNew(block);
    return block;
}

void operator delete(void* block) noexcept {
    lookAt(block);
    __real_free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    lookAt(block);
    __real_free(block);
}
