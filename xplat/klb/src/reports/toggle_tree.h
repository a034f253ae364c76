#ifndef KLB_REPORTS_TOGGLE_TREE_H
#define KLB_REPORTS_TOGGLE_TREE_H

#include "registry/registry.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace klb {

// The properties of a toggle in the default toggle report, in this order.
inline constexpr std::string_view kDefaultValueProperty = "KLB_DefaultValue";
inline constexpr std::string_view kIsDynamicProperty = "KLB_IsDynamic";
inline constexpr std::string_view kToggleFileTokenProperty = "KLB_ToggleFileToken";
/// Only of a toggle that has a comment.
inline constexpr std::string_view kToggleCommentProperty = "KLB_ToggleComment";

/// The toggles as objects in objects, by the segments of their keys. Refers to their records.
class ToggleTree {
public:
    struct Node {
        std::string_view name;
        /// Its properties come before the children; null for an object that only leads to others.
        const ToggleRecord* toggle = nullptr;
        // Places in the tree's list of nodes; 0, the root's, when there is none.
        std::size_t firstChild = 0;
        std::size_t nextSibling = 0;
    };

    /// \param count How many toggles to make room for.
    explicit ToggleTree(std::size_t count = 0);

    /// Adds a toggle whose key comes after all keys added so far, in byte order. A key that does
    /// not begin with "/" has no place, nor has one that leads through or to a property of another
    /// toggle.
    void addToggleReportEntry(const ToggleRecord& toggle);

    const Node& root() const noexcept {
        return nodes_.front();
    }
    /// Null when there is none, as is the result of nextSibling().
    const Node* firstChild(const Node& node) const noexcept {
        return nodeAt(node.firstChild);
    }
    const Node* nextSibling(const Node& node) const noexcept {
        return nodeAt(node.nextSibling);
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
    std::string_view lastKey_;
    /// From the shortest path to the longest. Not every one of them leads to the last key: /a is
    /// still open after /a-b, since /a/b follows.
    std::vector<Open> open_;
};

} // namespace klb

#endif
