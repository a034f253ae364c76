#include "reports/toggle_tree.h"

#include <algorithm>

namespace klb {

namespace {

bool hasProperty(const ToggleRecord& toggle, std::string_view name) noexcept {
    return name == kDefaultValueProperty || name == kIsDynamicProperty ||
           name == kToggleFileTokenProperty ||
           (name == kToggleCommentProperty && toggle.comment != nullptr);
}

} // namespace

ToggleTree::ToggleTree(std::size_t count) {
    nodes_.reserve(count + 1);
    nodes_.emplace_back();
    open_.emplace_back();
}

void ToggleTree::addToggleReportEntry(const ToggleRecord& toggle) {
    const std::string_view key = toggle.key;
    if (!key.starts_with('/')) {
        return;
    }
    const auto common = static_cast<std::size_t>(
        std::mismatch(key.begin(), key.end(), lastKey_.begin(), lastKey_.end()).first -
        key.begin());
    while (open_.back().end > common) {
        open_.pop_back();
    }
    lastKey_ = key;
    std::size_t parent = open_.size() - 1;
    while (key[open_[parent].end] != '/') {
        --parent;
    }

    std::size_t node = open_[parent].node;
    std::size_t end = open_[parent].end;
    while (end != key.size()) {
        const std::size_t begin = end + 1;
        end = std::min(key.find('/', begin), key.size());
        const std::string_view name = key.substr(begin, end - begin);
        const ToggleRecord* const passed = nodes_[node].toggle;
        if (passed != nullptr && hasProperty(*passed, name)) {
            return;
        }
        node = add(open_[parent], name);
        parent = open_.size();
        open_.push_back({end, node, 0});
    }
    nodes_[node].toggle = &toggle;
}

std::size_t ToggleTree::add(Open& parent, std::string_view name) {
    const std::size_t place = nodes_.size();
    nodes_.emplace_back().name = name;
    if (parent.lastChild != 0) {
        nodes_[parent.lastChild].nextSibling = place;
    } else {
        nodes_[parent.node].firstChild = place;
    }
    parent.lastChild = place;
    return place;
}

} // namespace klb
