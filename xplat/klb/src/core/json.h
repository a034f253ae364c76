#ifndef KLB_CORE_JSON_H
#define KLB_CORE_JSON_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include <rapidjson/allocators.h>
#include <rapidjson/document.h>

namespace klb {

/// Overwrites bytes that nobody may find in memory afterwards.
using Cleanser = void (*)(void* bytes, std::size_t size);

/// The allocator under every RapidJSON object of the library. RapidJSON's own does not look at what
/// malloc returns; this one throws std::bad_alloc, and leaves the old block alone when it does. One
/// that has a cleanser leaves no copy of what its blocks held.
class JsonAllocator {
public:
    static const bool kNeedFree = true;

    explicit JsonAllocator(Cleanser cleanser = nullptr) noexcept : cleanser_(cleanser) {}

    void* Malloc(std::size_t size) {
        return size == 0 ? nullptr : begin(std::malloc(sizeWithHeader(size)), size);
    }

    void* Realloc(void* original, std::size_t /*originalSize*/, std::size_t newSize) {
        if (newSize == 0 || original == nullptr) {
            Free(original);
            return Malloc(newSize);
        }
        Header* header = headerOf(original);
        if (header->cleanser == nullptr) {
            return begin(std::realloc(header, sizeWithHeader(newSize)), newSize);
        }
        void* grown = Malloc(newSize);
        std::memcpy(grown, original, std::min(header->size, newSize));
        Free(original);
        return grown;
    }

    // RapidJSON calls it without an allocator at hand.
    static void Free(void* block) noexcept {
        if (block == nullptr) {
            return;
        }
        Header* header = headerOf(block);
        if (header->cleanser != nullptr) {
            header->cleanser(block, header->size);
        }
        std::free(header);
    }

private:
    /// What stands before each block.
    struct alignas(std::max_align_t) Header {
        std::size_t size;
        Cleanser cleanser;
    };

    static std::size_t sizeWithHeader(std::size_t size) {
        if (size > SIZE_MAX - sizeof(Header)) {
            throw std::bad_alloc();
        }
        return sizeof(Header) + size;
    }

    void* begin(void* memory, std::size_t size) const {
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return new (memory) Header{size, cleanser_} + 1;
    }

    static Header* headerOf(void* block) noexcept {
        return static_cast<Header*>(block) - 1;
    }

    Cleanser cleanser_;
};

using JsonPool = rapidjson::MemoryPoolAllocator<JsonAllocator>;
using JsonDocument = rapidjson::GenericDocument<rapidjson::UTF8<>, JsonPool, JsonAllocator>;
using JsonValue = JsonDocument::ValueType;
using JsonMember = JsonValue::Member;

inline std::string_view textOf(const JsonValue& string) noexcept {
    return {string.GetString(), string.GetStringLength()};
}
inline std::string_view nameOf(const JsonMember& member) noexcept {
    return textOf(member.name);
}

} // namespace klb

#endif
