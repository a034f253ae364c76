#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "report_helpers.h"
#include "sessions.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

const char* const kBeforeInit = "KLB_AddToggleComment: KLB_Init must be called first.";
const char* const kNullKey = "addToggleProperty: toggleKey cannot be NULL.";
const char* const kEmptyKey = "addToggleProperty: key cannot be an empty string.";
const char* const kNoSlash = "addToggleProperty: key must start with '/' character.";
const char* const kNullComment = "addToggleProperty: propertyValue cannot be NULL.";

std::string unregisteredText(const std::string& key) {
    return "addToggleProperty: key, " + key +
           ", was not registered. Please call RegisterToggle first.";
}

/// The report of one static toggle /a with the default true and the token core; the comment is
/// given as JSON, and left out when it is null.
std::string reportOfOneToggle(const char* comment) {
    const std::string added =
        comment ? ",\n            \"KLB_ToggleComment\": " + std::string(comment) : std::string();
    return R"({
    "KLB_ToggleFiles": {},
    "KLB_Toggles": {
        "a": {
            "KLB_DefaultValue": true,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": "core")" +
           added + R"(
        }
    }
})";
}

TEST(AddToggleComment, BadArgumentsAreRefusedInOrder) {
    const struct {
        const char* name;
        const char* key;
        const char* comment;
        const char* text;
    } cases[] = {
        {"no key", nullptr, "comment", kNullKey},
        {"no key comes before no comment", nullptr, nullptr, kNullKey},
        {"empty key", "", "comment", kEmptyKey},
        {"empty key comes before no comment", "", nullptr, kEmptyKey},
        {"no slash", "a", "comment", kNoSlash},
        {"no slash comes before no comment", "a", nullptr, kNoSlash},
        {"no slash, unregistered", "unknown", "comment", kNoSlash},
        {"no slash, unregistered, no comment", "unknown", nullptr, kNoSlash},
        {"slash inside", "a/b", "comment", kNoSlash},
        {"space before the slash", " /a", "comment", kNoSlash},
        {"backslash", "\\a", "comment", kNoSlash},
        {"slash of another width",
         "\xEF\xBC\x8F"
         "a",
         "comment", kNoSlash},
        {"no comment", "/a", nullptr, kNullComment},
        {"no comment comes before an unregistered key", "/unknown", nullptr, kNullComment},
    };
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/a", true, "core");
        // Registered, and still no keys that a comment can name.
        for (const char* key : {"", "a", "a/b", " /a", "\\a"}) {
            KLB_RegisterToggle(key, true, "core");
        }
        for (const auto& c : cases) {
            SCOPED_TRACE(c.name);
            observer.expectError<std::invalid_argument>(
                c.text, [&] { KLB_AddToggleComment(c.key, c.comment); });
            EXPECT_TRUE(lockIsFree());
            EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(nullptr));
        }
        // A comment that was refused does not count as the first.
        observer.expectSilence([] { KLB_AddToggleComment("/a", "comment"); });
        EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(R"("comment")"));
    });
}

TEST(AddToggleComment, UnregisteredKeyIsRefused) {
    const std::string keys[] = {
        "/unknown",
        "/",
        "//",
        "/A",
        "/a/",
        "//a",
        "/a/b",
        "/a ",
        "/with space, and comma",
        "/\xC3\xBC\xFF%s\n\"",
        "/" + std::string(5000, 'k'),
    };
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        for (const std::string& key : keys) {
            SCOPED_TRACE(key);
            observer.expectError<std::domain_error>(
                unregisteredText(key), [&] { KLB_AddToggleComment(key.c_str(), "comment"); });
            EXPECT_TRUE(lockIsFree());
            EXPECT_EQ(defaultToggleJson(), "{}");
        }
        KLB_RegisterToggle("/a", true, "core");
        for (const std::string& key : keys) {
            SCOPED_TRACE(key);
            observer.expectError<std::domain_error>(unregisteredText(key),
                                                    [&] { KLB_AddToggleComment(key.c_str(), ""); });
            EXPECT_FALSE(KLB_IsToggleRegistered(key.c_str()));
            EXPECT_FALSE(KLB_IsDynamicToggleRegistered(key.c_str()));
            EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(nullptr));
        }
    });
}

TEST(AddToggleComment, CommentBeforeTheRegistrationIsLost) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectError<std::domain_error>(unregisteredText("/a"),
                                                [] { KLB_AddToggleComment("/a", "early"); });
        KLB_RegisterToggle("/a", true, "core");
        EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(nullptr));
        observer.expectSilence([] { KLB_AddToggleComment("/a", "late"); });
        EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(R"("late")"));
    });
}

TEST(AddToggleComment, ToggleWhoseRegistrationFailedHasNone) {
    const TempDirectory directory;
    directory.write(kOverrideFile, "{\"a\":true,");
    ErrorObserver throwing(ErrorMode::Exception);
    const OverridingSession session(directory);
    EXPECT_THROW(KLB_RegisterToggle("/a", true, "core"), std::domain_error);
    throwing.expectError<std::domain_error>(unregisteredText("/a"),
                                            [] { KLB_AddToggleComment("/a", "comment"); });
}

TEST(AddToggleComment, BelongsToTogglesOfBothKinds) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/static", true, "core");
        KLB_RegisterDynamicToggle("/dynamic", false, "core");
        observer.expectSilence([] {
            KLB_AddToggleComment("/static", "of the static one");
            KLB_AddToggleComment("/dynamic", "of the dynamic one");
        });
        EXPECT_EQ(defaultToggleJson(), R"({
    "KLB_ToggleFiles": {},
    "KLB_Toggles": {
        "dynamic": {
            "KLB_DefaultValue": false,
            "KLB_IsDynamic": true,
            "KLB_ToggleFileToken": "core",
            "KLB_ToggleComment": "of the dynamic one"
        },
        "static": {
            "KLB_DefaultValue": true,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": "core",
            "KLB_ToggleComment": "of the static one"
        }
    }
})");
    });
}

TEST(AddToggleComment, BelongsToItsOwnToggleOnly) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        for (const char* key : {"/a", "/a/b", "/a/b/c", "/b"}) {
            KLB_RegisterToggle(key, true, "core");
        }
        observer.expectSilence([] { KLB_AddToggleComment("/a/b", "the middle one's"); });
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
                "KLB_ToggleComment": "the middle one's",
                "c": {
                    "KLB_DefaultValue": true,
                    "KLB_IsDynamic": false,
                    "KLB_ToggleFileToken": "core"
                }
            }
        },
        "b": {
            "KLB_DefaultValue": true,
            "KLB_IsDynamic": false,
            "KLB_ToggleFileToken": "core"
        }
    }
})");
    });
}

TEST(AddToggleComment, FirstOneIsKeptSilently) {
    const struct {
        const char* first;
        const char* second;
        const char* shown;
    } cases[] = {
        {"first", "second", R"("first")"},
        {"first", "", R"("first")"},
        {"first", "first", R"("first")"},
        {"", "second", R"("")"},
        {"", "", R"("")"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("'" + std::string(c.first) + "', then '" + c.second + "'");
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            KLB_RegisterToggle("/a", true, "core");
            observer.expectSilence([&] { KLB_AddToggleComment("/a", c.first); });
            EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(c.shown));
            observer.expectSilence([&] {
                KLB_AddToggleComment("/a", c.second);
                KLB_AddToggleComment("/a", c.second);
            });
            EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(c.shown));
        });
    }
}

TEST(AddToggleComment, NoCommentIsStillAnErrorAfterTheFirst) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/a", true, "core");
        KLB_AddToggleComment("/a", "first");
        observer.expectError<std::invalid_argument>(kNullComment,
                                                    [] { KLB_AddToggleComment("/a", nullptr); });
        EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(R"("first")"));
    });
}

TEST(AddToggleComment, IsAnyText) {
    const struct {
        const char* comment;
        const char* shown;
    } cases[] = {
        {" ", R"(" ")"},
        {"he said \"no\"", R"("he said \"no\"")"},
        {"\"", R"("\"")"},
        {"back\\slash and / slash", R"("back\\slash and / slash")"},
        {"line one\nline two\r\nline three\n", R"("line one\nline two\r\nline three\n")"},
        {"\b\t\n\v\f\r\x01\x1B\x1F\x7F", "\"\\b\\t\\n\\u000B\\f\\r\\u0001\\u001B\\u001F\x7F\""},
        {"caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x94\x91",
         "\"caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x94\x91\""},
        {"not UTF-8: \xE9\xFF\x80", "\"not UTF-8: \xE9\xFF\x80\""},
        {"\\u0041", R"("\\u0041")"},
        {"%s %n", R"("%s %n")"},
        {"true", R"("true")"},
        {"{}", R"("{}")"},
        {"</script>", R"("</script>")"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.comment);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            KLB_RegisterToggle("/a", true, "core");
            observer.expectSilence([&] { KLB_AddToggleComment("/a", c.comment); });
            EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(c.shown));
        });
    }
}

TEST(AddToggleComment, MayBeLong) {
    const std::string comment(1000000, 'c');
    const LibrarySession library;
    KLB_RegisterToggle("/a", true, "core");
    KLB_AddToggleComment("/a", comment.c_str());
    EXPECT_TRUE(defaultToggleJson() == reportOfOneToggle(("\"" + comment + "\"").c_str()));
}

TEST(AddToggleComment, TextsAreCopied) {
    const LibrarySession library;
    KLB_RegisterToggle("/a", true, "core");
    std::string key = "/a";
    std::string comment = "a comment that is too long for a string without an allocation";
    KLB_AddToggleComment(key.c_str(), comment.c_str());
    key.assign(key.size(), '#');
    comment.assign(comment.size(), '#');
    EXPECT_EQ(
        defaultToggleJson(),
        reportOfOneToggle(R"("a comment that is too long for a string without an allocation")"));
}

TEST(AddToggleComment, StaysWhenTheToggleIsRegisteredAgain) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/a", true, "core");
        KLB_AddToggleComment("/a", "comment");
        observer.expectSilence([] {
            KLB_RegisterToggle("/a", false, "core");
            KLB_RegisterDynamicToggle("/a", false, "core");
        });
        observer.expectError<std::domain_error>("registerToggle: /a already registred in ",
                                                [] { KLB_RegisterToggle("/a", false, "other"); });
        observer.expectSilence([] { KLB_AddToggleComment("/a", "second"); });
        EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(R"("comment")"));
    });
}

TEST(AddToggleComment, ChangesNoValue) {
    const TempDirectory directory;
    const std::string path = directory.write("core.json", featuresFile(R"("a":true,"d":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        registerPlainFile("core", path);
        KLB_RegisterToggle("/a", false, "core");
        KLB_RegisterDynamicToggle("/d", false, "core");
        KLB_RegisterToggle("/same", true, "core");
        const std::string info = "core : " + path + "\n/a : true\n/d : true\n";
        EXPECT_EQ(overrideInfo(), info);
        observer.expectSilence([] {
            for (const char* key : {"/a", "/d", "/same"}) {
                KLB_AddToggleComment(key, "false");
            }
            EXPECT_TRUE(KLB_GetToggle("/a"));
            EXPECT_TRUE(KLB_GetDynamicToggle("/d"));
            EXPECT_TRUE(KLB_GetToggle("/same"));
        });
        EXPECT_EQ(overrideInfo(), info);
    });
}

TEST(AddToggleComment, IsForgottenWithTheSession) {
    for (const bool commented : {true, false}) {
        const LibrarySession library;
        KLB_RegisterToggle("/a", true, "core");
        if (commented) {
            KLB_AddToggleComment("/a", "comment");
        }
        EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(commented ? R"("comment")" : nullptr));
    }
}

TEST(AddToggleComment, BeforeInitAndAfterTermItIsRefusedWhateverTheArguments) {
    inBothErrorModes([](ErrorObserver& observer) {
        for (int session = 0; session < 2; ++session) {
            for (const char* key : {"/a", "/unknown", "a", "", static_cast<const char*>(nullptr)}) {
                for (const char* comment : {"refused", static_cast<const char*>(nullptr)}) {
                    observer.expectError<std::domain_error>(
                        kBeforeInit, [&] { KLB_AddToggleComment(key, comment); });
                    EXPECT_TRUE(lockIsFree());
                    EXPECT_FALSE(KLB_IsInitialized());
                }
            }
            const LibrarySession library;
            KLB_RegisterToggle("/a", true, "core");
            EXPECT_EQ(defaultToggleJson(), reportOfOneToggle(nullptr));
        }
    });
}

} // namespace

} // namespace klb::test
