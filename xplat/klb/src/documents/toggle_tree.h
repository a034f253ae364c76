#ifndef KLB_DOCUMENTS_TOGGLE_TREE_H
#define KLB_DOCUMENTS_TOGGLE_TREE_H

#include "core/properties.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace klb {

/// The toggles as objects in objects, by the segments of their keys. Has copies of what a walk
/// needs, because the records lie all over the memory.
class ToggleTree {
public:
    struct Node {
        std::size_t nameBegin = 0;
        std::size_t nameSize = 0;
        /// They stand in the object before its children; none in an object that is only on the way
        /// to others.
        std::optional<ToggleProperties> properties;
        Node* parent = nullptr;
        Node* firstChild = nullptr;
        Node* lastChild = nullptr;
        Node* nextSibling = nullptr;
    };

    ToggleTree();
    // Nodes refer to one another, where they are.
    ToggleTree(ToggleTree&&) = default;
    ToggleTree(const ToggleTree&) = delete;
    ToggleTree& operator=(const ToggleTree&) = delete;

    /// Enters a toggle whose key comes behind all keys entered so far, in the order of their
    /// bytes. A key that does not begin with "/" has no place, nor has one that would have to go
    /// through or to a property of another toggle.
    void addToggleReportEntry(const ToggleRecord& toggle);

    const Node& root() const noexcept {
        return nodes_.front();
    }
    std::string_view nameOf(const Node& node) const noexcept {
        return std::string_view(names_).substr(node.nameBegin, node.nameSize);
    }

private:
    /// An object whose path is the beginning of the last key, up to `end`.
    struct Open {
        std::size_t end;
        Node* node;
    };

    Node& add(Node& parent, std::string_view name);

    std::deque<Node> nodes_;
    std::string names_;
    std::string_view lastKey_;
    /// From the shortest path to the longest. Not every one of them leads to the last key: /a is
    /// still open behind /a-b, since /a/b follows.
    std::vector<Open> open_;
};

} // namespace klb

#endif
