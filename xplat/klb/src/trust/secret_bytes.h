#ifndef KLB_TRUST_SECRET_BYTES_H
#define KLB_TRUST_SECRET_BYTES_H

#include <cstddef>
#include <memory>
#include <vector>

namespace klb {

/// Overwrites bytes in a way that no compiler optimises away.
void cleanse(void* bytes, std::size_t size) noexcept;

/// Overwrites what it frees.
template <class T>
class CleansingAllocator {
public:
    using value_type = T;

    CleansingAllocator() = default;
    template <class Other>
    CleansingAllocator(const CleansingAllocator<Other>&) noexcept {}

    T* allocate(std::size_t count) {
        return std::allocator<T>().allocate(count);
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        cleanse(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }

    bool operator==(const CleansingAllocator&) const = default;
};

/// Decrypted bytes, of which no copy stays behind in freed memory.
using SecretBytes = std::vector<char, CleansingAllocator<char>>;

} // namespace klb

#endif
