#ifndef KLB_CORE_JSON_H
#define KLB_CORE_JSON_H

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string_view>

#include <rapidjson/allocators.h>
#include <rapidjson/document.h>

namespace klb {

/// The allocator under every RapidJSON object of the library. RapidJSON's own ignores what malloc
/// returns; this one throws std::bad_alloc, and leaves the old block alone when it does.
class JsonAllocator {
public:
    static const bool kNeedFree = true;

    void* Malloc(std::size_t size) {
        return size == 0 ? nullptr : checked(std::malloc(size));
    }
    void* Realloc(void* original, std::size_t /*originalSize*/, std::size_t newSize) {
        if (newSize == 0) {
            Free(original);
            return nullptr;
        }
        return checked(std::realloc(original, newSize));
    }
    static void Free(void* block) noexcept {
        std::free(block);
    }

private:
    static void* checked(void* block) {
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        return block;
    }
};

using JsonDocument =
    rapidjson::GenericDocument<rapidjson::UTF8<>, rapidjson::MemoryPoolAllocator<JsonAllocator>,
                               JsonAllocator>;
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
