// Stands in front of the C library's allocator and of its lock. Allocation goes on to the names
// that the GNU C library keeps for such a purpose, so that nothing has to be looked up for it.
#include "counted_calls.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>

namespace {

std::atomic<std::int64_t> allocations{0};
std::atomic<std::int64_t> locks{0};
std::atomic<std::int64_t> bytes{0};

// Each block has its size in front.
constexpr std::size_t kBlockHeader = sizeof(std::size_t);

std::int64_t sizeOf(void* block) noexcept {
    return block != nullptr ? static_cast<std::int64_t>(malloc_usable_size(block) + kBlockHeader)
                            : 0;
}

void* counted(void* block) noexcept {
    ++allocations;
    bytes += sizeOf(block);
    return block;
}

using LockFunction = int (*)(pthread_mutex_t*);

LockFunction nextLock() noexcept {
    static const LockFunction next =
        reinterpret_cast<LockFunction>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return next;
}

LockFunction nextTryLock() noexcept {
    static const LockFunction next =
        reinterpret_cast<LockFunction>(dlsym(RTLD_NEXT, "pthread_mutex_trylock"));
    return next;
}

} // namespace

#define KLB_COUNTED extern "C" __attribute__((visibility("default")))

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

KLB_COUNTED void* malloc(std::size_t size) {
    return counted(__libc_malloc(size));
}

KLB_COUNTED void* calloc(std::size_t count, std::size_t size) {
    return counted(__libc_calloc(count, size));
}

KLB_COUNTED void* realloc(void* block, std::size_t size) {
    const std::int64_t sizeBefore = sizeOf(block);
    void* const result = __libc_realloc(block, size);
    if (result != nullptr || size == 0) {
        bytes -= sizeBefore;
    }
    return counted(result);
}

KLB_COUNTED void* memalign(std::size_t alignment, std::size_t size) {
    return counted(__libc_memalign(alignment, size));
}

KLB_COUNTED void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return counted(__libc_memalign(alignment, size));
}

KLB_COUNTED int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* const result = counted(__libc_memalign(alignment, size));
    if (result == nullptr) {
        return ENOMEM;
    }
    *block = result;
    return 0;
}

KLB_COUNTED void free(void* block) {
    bytes -= sizeOf(block);
    __libc_free(block);
}

KLB_COUNTED int pthread_mutex_lock(pthread_mutex_t* mutex) {
    ++locks;
    return nextLock()(mutex);
}

KLB_COUNTED int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    const int result = nextTryLock()(mutex);
    locks += result == 0 ? 1 : 0;
    return result;
}

namespace klb::test {

CountedCalls countedCalls() noexcept {
    return {allocations, locks};
}

std::int64_t heapBytes() noexcept {
    return bytes;
}

} // namespace klb::test
