#include "support/failing_allocation.h"

#include <cstdlib>
#include <new>

namespace {

// Plain variables: where thread-local ones are emulated, they come from malloc themselves.
std::size_t remaining = 0;
bool failed = false;

bool mustFail() noexcept {
    if (remaining == 0 || --remaining != 0) {
        return false;
    }
    failed = true;
    return true;
}

} // namespace

namespace klb::test {

FailingAllocation::FailingAllocation(std::size_t n) noexcept {
    failed = false;
    remaining = n;
}

FailingAllocation::~FailingAllocation() {
    remaining = 0;
}

bool FailingAllocation::happened() const noexcept {
    return failed;
}

} // namespace klb::test

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) {
    return mustFail() ? nullptr : __real_malloc(size);
}

void* __wrap_realloc(void* block, std::size_t size) {
    return mustFail() ? nullptr : __real_realloc(block, size);
}
}

void* operator new(std::size_t size) {
    void* block = mustFail() ? nullptr : __real_malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
