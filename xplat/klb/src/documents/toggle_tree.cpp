#include "documents/toggle_tree.h"

#include <algorithm>

namespace klb {

ToggleTree::ToggleTree() {
    nodes_.emplace_back();
    open_.push_back({0, &nodes_.front()});
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
    auto parent = open_.rbegin();
    while (key[parent->end] != '/') {
        ++parent;
    }

    Node* node = parent->node;
    std::size_t end = parent->end;
    while (end != key.size()) {
        const std::size_t begin = end + 1;
        end = std::min(key.find('/', begin), key.size());
        const std::string_view name = key.substr(begin, end - begin);
        if (node->properties && node->properties->contain(name)) {
            return;
        }
        node = &add(*node, name);
        open_.push_back({end, node});
    }
    node->properties.emplace(toggle);
}

ToggleTree::Node& ToggleTree::add(Node& parent, std::string_view name) {
    Node& node = nodes_.emplace_back();
    node.nameBegin = names_.size();
    node.nameSize = name.size();
    names_ += name;
    node.parent = &parent;
    (parent.lastChild != nullptr ? parent.lastChild->nextSibling : parent.firstChild) = &node;
    parent.lastChild = &node;
    return node;
}

} // namespace klb
