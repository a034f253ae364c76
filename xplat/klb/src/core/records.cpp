#include "core/records.h"

#include <new>
#include <type_traits>

namespace klb {

namespace {

// With a key of usual length a toggle takes one.
constexpr std::size_t kCacheLine = 64;

} // namespace

ToggleRecord& createToggle(std::string_view key, std::pmr::memory_resource& memory) {
    static_assert(std::is_trivially_destructible_v<ToggleRecord>);
    void* place = memory.allocate(sizeof(ToggleRecord) + key.size(), kCacheLine);
    auto* toggle = new (place) ToggleRecord;
    toggle->keySize = key.size();
    key.copy(reinterpret_cast<char*>(toggle + 1), key.size());
    return *toggle;
}

std::string_view copyText(std::string_view text, std::pmr::memory_resource& memory) {
    char* copy = static_cast<char*>(memory.allocate(text.size(), alignof(char)));
    text.copy(copy, text.size());
    return {copy, text.size()};
}

} // namespace klb
