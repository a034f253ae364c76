#include "core/toggle_order.h"

#include "core/records.h"

#include <algorithm>

namespace klb {

namespace {

bool comesBefore(const ToggleRecord* one, const ToggleRecord* other) noexcept {
    return one->key() < other->key();
}

} // namespace

void ToggleOrder::makeRoom() {
    constexpr std::size_t kFirstCapacity = 16;
    if (toggles_.size() == toggles_.capacity()) {
        toggles_.reserve(std::max(kFirstCapacity, 2 * toggles_.capacity()));
    }
}

void ToggleOrder::add(ToggleRecord& toggle) noexcept {
    toggles_.push_back(&toggle);
    const std::size_t size = toggles_.size();
    ordered_ = ordered_ && (size == 1 || comesBefore(toggles_[size - 2], &toggle));
}

const std::vector<ToggleRecord*>& ToggleOrder::inKeyOrder() const {
    if (!ordered_) {
        std::sort(toggles_.begin(), toggles_.end(), &comesBefore);
        ordered_ = true;
    }
    return toggles_;
}

} // namespace klb
