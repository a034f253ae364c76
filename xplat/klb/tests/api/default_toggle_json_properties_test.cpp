#include "error_mode.h"
#include "library_session.h"
#include "report_helpers.h"
#include "toggle_tree.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

TEST(GetDefaultToggleJsonProperties, KindDefaultAndTokenAreTheTogglesOwn) {
    const LibrarySession library;
    KLB_RegisterDynamicToggle("/d/on", true, "second token");
    KLB_RegisterDynamicToggle("/d/off", false, "");
    KLB_RegisterToggle("/s/on", true, "app.features");
    KLB_RegisterToggle("/s/off", false, "second token");
    EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {},
    "KLB_Toggles": {
        "d": {
            "off": {
                "KLB_DefaultValue": false,
                "KLB_IsDynamic": true,
                "KLB_ToggleFileToken": ""
            },
            "on": {
                "KLB_DefaultValue": true,
                "KLB_IsDynamic": true,
                "KLB_ToggleFileToken": "second token"
            }
        },
        "s": {
            "off": {
                "KLB_DefaultValue": false,
                "KLB_IsDynamic": false,
                "KLB_ToggleFileToken": "second token"
            },
            "on": {
                "KLB_DefaultValue": true,
                "KLB_IsDynamic": false,
                "KLB_ToggleFileToken": "app.features"
            }
        }
    }
})");
}

/// Texts that a host may pass, and how they stand between the quotes of a JSON string.
const struct {
    const char* text;
    const char* shown;
} kTexts[] = {
    {" ", " "},
    {"a.b", "a.b"},
    {"\"quoted\"", R"(\"quoted\")"},
    {"back\\slash", R"(back\\slash)"},
    {"\b\t\n\v\f\r\x01\x1F\x7F", "\\b\\t\\n\\u000B\\f\\r\\u0001\\u001F\x7F"},
    {"caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x94\x91", "caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x94\x91"},
    {"\xE9\xFF\x80", "\xE9\xFF\x80"},
    {"%s", "%s"},
    {"\\u0041", R"(\\u0041)"},
    {"{\"x\": 1}", R"({\"x\": 1})"},
};

TEST(GetDefaultToggleJsonProperties, TokenIsAnyText) {
    for (const auto& c : kTexts) {
        SCOPED_TRACE(c.shown);
        const LibrarySession library;
        KLB_RegisterToggle("/a", true, c.text);
        EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {},
    "KLB_Toggles": {
        "a": {
            "KLB_DefaultValue": true,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": ")" + std::string(c.shown) +
                                           R"("
        }
    }
})");
    }
}

TEST(GetDefaultToggleJsonProperties, NamesAboveThemAreAnyText) {
    for (const auto& c : kTexts) {
        SCOPED_TRACE(c.shown);
        const LibrarySession library;
        const std::string key = "/" + std::string(c.text) + "/" + c.text;
        registerAll({key.c_str()});
        const std::string name = "\"" + std::string(c.shown) + "\"";
        EXPECT_EQ(defaultToggleJson(),
                  reportOfTree("\n        " + name + ": {\n            " + name + R"(: {
                @
            }
        })"));
    }
}

TEST(GetDefaultToggleJsonProperties, FirstRegistrationOfAKeyIsShown) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/a", true, "core");
        observer.expectSilence([] {
            KLB_RegisterToggle("/a", false, "core");
            KLB_RegisterDynamicToggle("/a", false, "core");
        });
        observer.expectError<std::domain_error>("registerToggle: /a already registred in ", [] {
            KLB_RegisterDynamicToggle("/a", false, "other");
        });
        EXPECT_EQ(defaultToggleJson(), reportOfTree(R"(
        "a": {
            @
        })"));
    });
}

TEST(GetDefaultToggleJsonProperties, KeyThatMeetsAPropertyIsLeftOut) {
    const std::vector<const char*> keys = {"/a",
                                           "/a/KLB_DefaultValue",
                                           "/a/KLB_DefaultValue/x",
                                           "/a/KLB_IsDynamic",
                                           "/a/KLB_IsDynamic/x/y",
                                           "/a/KLB_ToggleFileToken/",
                                           "/a/KLB_ToggleFileToken/x"};
    expectTree(keys, R"(
        "a": {
            @
        })");

    const LibrarySession library;
    registerAll(keys);
    for (const char* key : keys) {
        SCOPED_TRACE(key);
        EXPECT_TRUE(KLB_GetToggle(key));
        EXPECT_NO_THROW(KLB_AddToggleComment(key, "comment"));
    }
    EXPECT_EQ(defaultToggleJson(), reportOfTree(R"(
        "a": {
            @,
            "KLB_ToggleComment": "comment"
        })"));
}

TEST(GetDefaultToggleJsonProperties, KeyThatMeetsACommentIsLeftOutFromTheCommentOn) {
    const LibrarySession library;
    registerAll({"/a", "/a/KLB_ToggleComment", "/a/KLB_ToggleComment/x", "/a/b"});
    EXPECT_EQ(defaultToggleJson(), reportOfTree(R"(
        "a": {
            @,
            "KLB_ToggleComment": {
                @,
                "x": {
                    @
                }
            },
            "b": {
                @
            }
        })"));
    KLB_AddToggleComment("/a/KLB_ToggleComment", "of the toggle below");
    EXPECT_EQ(defaultToggleJson(), reportOfTree(R"(
        "a": {
            @,
            "KLB_ToggleComment": {
                @,
                "KLB_ToggleComment": "of the toggle below",
                "x": {
                    @
                }
            },
            "b": {
                @
            }
        })"));
    KLB_AddToggleComment("/a", "");
    EXPECT_EQ(defaultToggleJson(), reportOfTree(R"(
        "a": {
            @,
            "KLB_ToggleComment": "",
            "b": {
                @
            }
        })"));
}

TEST(GetDefaultToggleJsonProperties, NamesOfPropertiesAreFreeWhereThereIsNone) {
    expectTree({"/KLB_DefaultValue", "/KLB_DefaultValue/KLB_DefaultValue", "/KLB_DefaultValue/x",
                "/KLB_ModuleName", "/KLB_Toggles/KLB_Toggles", "/a", "/a/klb_defaultvalue",
                "/a/KLB_DefaultValu", "/a/KLB_DefaultValues/x", "/g/KLB_DefaultValue",
                "/g/KLB_IsDynamic/x"},
               R"(
        "KLB_DefaultValue": {
            @,
            "x": {
                @
            }
        },
        "KLB_ModuleName": {
            @
        },
        "KLB_Toggles": {
            "KLB_Toggles": {
                @
            }
        },
        "a": {
            @,
            "KLB_DefaultValu": {
                @
            },
            "KLB_DefaultValues": {
                "x": {
                    @
                }
            },
            "klb_defaultvalue": {
                @
            }
        },
        "g": {
            "KLB_DefaultValue": {
                @
            },
            "KLB_IsDynamic": {
                "x": {
                    @
                }
            }
        })");
}

} // namespace

} // namespace klb::test
