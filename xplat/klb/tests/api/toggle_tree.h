#ifndef KLB_TESTS_API_TOGGLE_TREE_H
#define KLB_TESTS_API_TOGGLE_TREE_H

#include "klb.h"
#include "library_session.h"
#include "report_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace klb::test {

/// A whole report with no file shown and this tree of toggles. In the tree, "@" at the end of a
/// line stands for the three properties of a static toggle with the default true and the token
/// core; what follows in the same object is parted from them by the comma written after the "@".
inline std::string reportOfTree(std::string_view tree) {
    std::string report = "{\n    \"KLB_ToggleFiles\": {},\n    \"KLB_Toggles\": {";
    std::size_t lineStart = 0;
    for (const char each : tree) {
        if (each == '@') {
            const std::string indent(report.size() - lineStart, ' ');
            report += "\"KLB_DefaultValue\": true,\n" + indent + "\"KLB_IsDynamic\": false,\n" +
                      indent + "\"KLB_ToggleFileToken\": \"core\"";
        } else {
            report += each;
        }
        if (each == '\n') {
            lineStart = report.size();
        }
    }
    return report + (tree.empty() ? "}" : "\n    }") + "\n}";
}

/// Registers static toggles with the default true and the token core.
inline void registerAll(const std::vector<const char*>& keys) {
    for (const char* key : keys) {
        KLB_RegisterToggle(key, true, "core");
    }
}

/// The keys give this tree in whatever order they are registered.
inline void expectTree(std::vector<const char*> keys, std::string_view tree) {
    for (const bool reversed : {false, true}) {
        SCOPED_TRACE(reversed ? "last key first" : "first key first");
        const LibrarySession library;
        registerAll(keys);
        EXPECT_EQ(defaultToggleJson(), reportOfTree(tree));
        std::reverse(keys.begin(), keys.end());
    }
}

} // namespace klb::test

#endif
