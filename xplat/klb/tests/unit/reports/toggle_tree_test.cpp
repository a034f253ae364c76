#include "reports/toggle_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace klb {
namespace {

/// Toggles by key, and the tree of them.
class Tree {
public:
    explicit Tree(const std::vector<std::string>& keys) {
        file_.token = "core";
        for (const std::string& key : keys) {
            ToggleRecord& toggle = createToggle(key, memory_);
            toggle.file = &file_;
            toggles_.makeRoom();
            toggles_.add(toggle);
        }
        for (const ToggleRecord* toggle : toggles_.inKeyOrder()) {
            tree_.addToggleReportEntry(*toggle);
        }
    }

    /// One line for each object, indented by its level; an object with a toggle has a star.
    std::string text() const {
        return textOf(tree_.root(), "");
    }

private:
    std::string textOf(const ToggleTree::Node& node, const std::string& indentation) const {
        std::string text;
        for (const ToggleTree::Node* child = tree_.firstChild(node); child != nullptr;
             child = tree_.nextSibling(*child)) {
            text += indentation + "'" + std::string(child->name) + "'" +
                    (child->toggle != nullptr ? "*\n" : "\n") + textOf(*child, indentation + "  ");
        }
        return text;
    }

    std::pmr::monotonic_buffer_resource memory_;
    ToggleFileRecord file_;
    ToggleOrder toggles_;
    ToggleTree tree_;
};

TEST(AddToggleReportEntry, EntersObjectsOnTheWay) {
    EXPECT_EQ(Tree({}).text(), "");
    EXPECT_EQ(Tree({"/beta", "/editor/fastPath", "/editor/export/pdf"}).text(), "'beta'*\n"
                                                                                "'editor'\n"
                                                                                "  'export'\n"
                                                                                "    'pdf'*\n"
                                                                                "  'fastPath'*\n");
}

TEST(AddToggleReportEntry, FindsAToggleAgainBehindItsSiblings) {
    EXPECT_EQ(Tree({"/a", "/a-b", "/a-b/c", "/a.b", "/a/b", "/a/b-", "/a/b/c", "/a0"}).text(),
              "'a'*\n"
              "  'b'*\n"
              "    'c'*\n"
              "  'b-'*\n"
              "'a-b'*\n"
              "  'c'*\n"
              "'a.b'*\n"
              "'a0'*\n");
    EXPECT_EQ(Tree({"/a", "/a-", "/a--", "/a---/x/y", "/a-/x", "/a/x"}).text(), "'a'*\n"
                                                                                "  'x'*\n"
                                                                                "'a-'*\n"
                                                                                "  'x'*\n"
                                                                                "'a--'*\n"
                                                                                "'a---'\n"
                                                                                "  'x'\n"
                                                                                "    'y'*\n");
}

TEST(AddToggleReportEntry, SegmentsMayBeEmpty) {
    EXPECT_EQ(Tree({"/", "//", "//x", "/x/", "/x//y"}).text(), "''*\n"
                                                               "  ''*\n"
                                                               "  'x'*\n"
                                                               "'x'\n"
                                                               "  ''*\n"
                                                               "    'y'*\n");
}

TEST(AddToggleReportEntry, LeavesOutWhatHasNoPlace) {
    EXPECT_EQ(Tree({"", "a", "a/b", "-", "/b"}).text(), "'b'*\n");
    EXPECT_EQ(Tree({"/a", "/a/KLB_DefaultValue", "/a/KLB_DefaultValue/x", "/a/KLB_IsDynamic/x",
                    "/a/KLB_ToggleFileToken", "/a/KLB_ToggleComment", "/a/b"})
                  .text(),
              "'a'*\n"
              "  'KLB_ToggleComment'*\n"
              "  'b'*\n");
    EXPECT_EQ(Tree({"/a/KLB_DefaultValue", "/a/KLB_DefaultValue/KLB_DefaultValue/x"}).text(),
              "'a'\n"
              "  'KLB_DefaultValue'*\n");
}

} // namespace
} // namespace klb
