#ifndef KLB_REPORTS_TOGGLE_TREE_H
#define KLB_REPORTS_TOGGLE_TREE_H

#include "core/properties.h"

#include <cstddef>
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
        // Places in the tree's list of nodes; 0, the root's, when there is none.
        std::size_t firstChild = 0;
        std::size_t nextSibling = 0;
    };

    /// \param count How many toggles to make room for.
    explicit ToggleTree(std::size_t count = 0);

    /// Enters a toggle whose key comes behind all keys entered so far, in the order of their
    /// bytes. A key that does not begin with "/" has no place, nor has one that would have to go
    /// through or to a property of another toggle.
    void addToggleReportEntry(const ToggleRecord& toggle);

    const Node& root() const noexcept {
        return nodes_.front();
    }
    /// Null when there is none, as is the next one of nextSibling().
    const Node* firstChild(const Node& node) const noexcept {
        return nodeAt(node.firstChild);
    }
    const Node* nextSibling(const Node& node) const noexcept {
        return nodeAt(node.nextSibling);
    }
    std::string_view nameOf(const Node& node) const noexcept {
        return std::string_view(names_).substr(node.nameBegin, node.nameSize);
    }

private:
    /// An object whose path is the beginning of the last key, up to `end`.
    struct Open {
        std::size_t end = 0;
        std::size_t node = 0;
        std::size_t lastChild = 0;
    };

    const Node* nodeAt(std::size_t place) const noexcept {
        return place != 0 ? &nodes_[place] : nullptr;
    }
    std::size_t add(Open& parent, std::string_view name);

    std::vector<Node> nodes_;
    std::string names_;
    std::string_view lastKey_;
    /// From the shortest path to the longest. Not every one of them leads to the last key: /a is
    /// still open behind /a-b, since /a/b follows.
    std::vector<Open> open_;
};

} // namespace klb

#endif
