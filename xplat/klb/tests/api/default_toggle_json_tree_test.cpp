#include "library_session.h"
#include "report_helpers.h"
#include "toggle_tree.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>

namespace klb::test {

namespace {

TEST(GetDefaultToggleJsonTree, ToggleUnderAToggleStandsAfterItsProperties) {
    const std::array<const char*, 3> keys = {"/a", "/a/b", "/a/b/c"};
    for (const std::array<int, 3>& order :
         {std::array{0, 1, 2}, std::array{0, 2, 1}, std::array{1, 0, 2}, std::array{1, 2, 0},
          std::array{2, 0, 1}, std::array{2, 1, 0}}) {
        const LibrarySession library;
        for (const int index : order) {
            KLB_RegisterToggle(keys[static_cast<std::size_t>(index)], true, "core");
        }
        EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {},
    "KLB_Toggles": {
        "a": {
            "KLB_DefaultValue": true,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": "core",
            "b": {
                "KLB_DefaultValue": true,
                "KLB_IsDynamic": false,
                "KLB_ToggleFileToken": "core",
                "c": {
                    "KLB_DefaultValue": true,
                    "KLB_IsDynamic": false,
                    "KLB_ToggleFileToken": "core"
                }
            }
        }
    }
})");
    }
}

TEST(GetDefaultToggleJsonTree, GroupsAreObjectsWithoutProperties) {
    expectTree({"/group/sub/a", "/group/sub/b", "/group/top"}, R"(
        "group": {
            "sub": {
                "a": {
                    @
                },
                "b": {
                    @
                }
            },
            "top": {
                @
            }
        })");
}

TEST(GetDefaultToggleJsonTree, BytesOfTheKeysGiveTheOrder) {
    std::string tree;
    for (const char* name :
         {"10", "2", "B", "a", "ab", "b", "b ", "b!", "\x7F", "\xC3\xA9", "\xFF"}) {
        tree += (tree.empty() ? "\n        \"" : ",\n        \"") + std::string(name) + R"(": {
            @
        })";
    }
    expectTree({"/2", "/b ", "/\xFF", "/b", "/10", "/ab", "/\xC3\xA9", "/a", "/b!", "/\x7F", "/B"},
               tree);
}

TEST(GetDefaultToggleJsonTree, KeysBetweenAToggleAndTheOnesUnderItStandAfterAllOfThem) {
    // '-' and '.' come before '/', so /a is left and entered again.
    expectTree({"/a", "/a-b", "/a.b", "/a/b"}, R"(
        "a": {
            @,
            "b": {
                @
            }
        },
        "a-b": {
            @
        },
        "a.b": {
            @
        })");
    expectTree({"/a", "/a-b/c", "/a/b", "/a/b-c", "/a/b.c/d", "/a/b/d", "/a/c", "/a0"}, R"(
        "a": {
            @,
            "b": {
                @,
                "d": {
                    @
                }
            },
            "b-c": {
                @
            },
            "b.c": {
                "d": {
                    @
                }
            },
            "c": {
                @
            }
        },
        "a-b": {
            "c": {
                @
            }
        },
        "a0": {
            @
        })");
}

TEST(GetDefaultToggleJsonTree, GroupStandsWhereItsFirstKeyComes) {
    expectTree({"/a-b", "/a.b", "/a/b"}, R"(
        "a-b": {
            @
        },
        "a.b": {
            @
        },
        "a": {
            "b": {
                @
            }
        })");
    expectTree({"/g/a-/x", "/g/a/x", "/g/a/x!", "/g/a/x/y", "/g/a0", "/g0"}, R"(
        "g": {
            "a-": {
                "x": {
                    @
                }
            },
            "a": {
                "x": {
                    @,
                    "y": {
                        @
                    }
                },
                "x!": {
                    @
                }
            },
            "a0": {
                @
            }
        },
        "g0": {
            @
        })");
}

TEST(GetDefaultToggleJsonTree, SlashAtTheEndNamesTheEmptyMember) {
    expectTree({"/x/"}, R"(
        "x": {
            "": {
                @
            }
        })");
    expectTree({"/x", "/x-", "/x/", "/x//", "/x//y", "/x/y"}, R"(
        "x": {
            @,
            "": {
                @,
                "": {
                    @
                },
                "y": {
                    @
                }
            },
            "y": {
                @
            }
        },
        "x-": {
            @
        })");
}

TEST(GetDefaultToggleJsonTree, EmptySegmentsAreMembersLikeAnyOther) {
    expectTree({"/"}, R"(
        "": {
            @
        })");
    expectTree({"//x"}, R"(
        "": {
            "x": {
                @
            }
        })");
    expectTree({"/", "/ ", "//", "///", "//x", "/a//b"}, R"(
        "": {
            @,
            "": {
                @,
                "": {
                    @
                }
            },
            "x": {
                @
            }
        },
        " ": {
            @
        },
        "a": {
            "": {
                "b": {
                    @
                }
            }
        })");
}

TEST(GetDefaultToggleJsonTree, KeysWithoutALeadingSlashAreLeftOut) {
    expectTree({"", "a", "a/b", " /a", "\\a", "KLB_Toggles"}, "");
    expectTree({"", "a", "a/b", " /a", "\\a", "/a"}, R"(
        "a": {
            @
        })");
}

TEST(GetDefaultToggleJsonTree, GroupMayBeWide) {
    constexpr int kCount = 400;
    const LibrarySession library;
    std::string tree = "\n        \"g\": {";
    for (int number = 0; number < kCount; ++number) {
        const std::string name = "k" + std::to_string(1000 + number);
        const std::string key = "/g/" + name;
        registerAll({(key + "/sub").c_str(), (key + "-x").c_str(), key.c_str(),
                     (key + "/KLB_IsDynamic").c_str()});
        tree += std::string(number == 0 ? "" : ",") + "\n            \"" + name + R"(": {
                @,
                "sub": {
                    @
                }
            },
            ")" +
                name + R"(-x": {
                @
            })";
    }
    const std::string expected = reportOfTree(tree + "\n        }");
    EXPECT_EQ(defaultToggleJson(), expected);
    EXPECT_EQ(defaultToggleJson(), expected);
}

TEST(GetDefaultToggleJsonTree, KeyMayBeDeep) {
    constexpr std::size_t kDepth = 300;
    const LibrarySession library;
    std::string key;
    std::string opening;
    std::string closing;
    for (std::size_t level = 0; level < kDepth; ++level) {
        const std::string line = "\n" + std::string(4 * (level + 2), ' ');
        key += "/k";
        opening += line + "\"k\": {";
        closing = line + "}" + closing;
    }
    opening += "\n" + std::string(4 * (kDepth + 2), ' ') + "@";
    registerAll({key.c_str()});
    EXPECT_EQ(defaultToggleJson(), reportOfTree(opening + closing));
}

} // namespace

} // namespace klb::test
