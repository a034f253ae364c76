#include "registry/registry.h"

#include <new>
#include <type_traits>

namespace klb {

namespace {

// A toggle with a key of usual length takes one.
constexpr std::size_t kCacheLine = 64;

bool comesBefore(const ToggleRecord* one, const ToggleRecord* other) noexcept {
    return one->key < other->key;
}

} // namespace

ToggleRecord& createToggle(std::string_view key, std::pmr::memory_resource& memory) {
    static_assert(std::is_trivially_destructible_v<ToggleRecord>);
    void* const place = memory.allocate(sizeof(ToggleRecord) + key.size(), kCacheLine);
    char* const text = static_cast<char*>(place) + sizeof(ToggleRecord);
    key.copy(text, key.size());
    auto* const toggle = new (place) ToggleRecord;
    toggle->key = {text, key.size()};
    return *toggle;
}

void ToggleOrder::add(ToggleRecord& toggle) noexcept {
    ordered_ = ordered_ && (toggles_.empty() || comesBefore(toggles_.back(), &toggle));
    toggles_.push_back(&toggle);
}

const std::vector<ToggleRecord*>& ToggleOrder::inKeyOrder() const {
    if (!ordered_) {
        std::sort(toggles_.begin(), toggles_.end(), &comesBefore);
        ordered_ = true;
    }
    return toggles_;
}

} // namespace klb
