#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "scoped_environment.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

TEST(RegisterToggle, NullArgumentsAreErrors) {
    const struct {
        const char* name;
        const char* key;
        const char* token;
        const char* text;
    } cases[] = {
        {"no key", nullptr, "core", "registerToggle: toggleKey cannot be NULL."},
        {"no token", "/a", nullptr, "registerToggle: toggleFileToken cannot be NULL."},
        {"neither, the key comes first", nullptr, nullptr,
         "registerToggle: toggleKey cannot be NULL."},
        {"an empty key needs a token too", "", nullptr,
         "registerToggle: toggleFileToken cannot be NULL."},
    };
    for (const ToggleKind* kind : kBothKinds) {
        SCOPED_TRACE(kind->name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            for (const auto& c : cases) {
                SCOPED_TRACE(c.name);
                observer.expectError<std::invalid_argument>(
                    c.text, [&] { kind->registerToggle(c.key, true, c.token); });
                EXPECT_TRUE(lockIsFree());
                EXPECT_FALSE(KLB_IsToggleFileRegistered("core"));
                for (const char* key : {"/a", ""}) {
                    EXPECT_FALSE(KLB_IsToggleRegistered(key));
                    EXPECT_FALSE(KLB_IsDynamicToggleRegistered(key));
                }
            }
            observer.expectSilence([&] { kind->registerToggle("/a", true, "core"); });
            EXPECT_TRUE(kind->get("/a"));
        });
    }
}

TEST(RegisterToggle, KeyIsKnownAsTheKindItWasRegisteredWith) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        EXPECT_FALSE(KLB_IsToggleRegistered("/static"));
        EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/dynamic"));
        observer.expectSilence([] {
            KLB_RegisterToggle("/static", false, "core");
            KLB_RegisterDynamicToggle("/dynamic", false, "core");
        });
        EXPECT_TRUE(KLB_IsToggleRegistered("/static"));
        EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/static"));
        EXPECT_FALSE(KLB_IsToggleRegistered("/dynamic"));
        EXPECT_TRUE(KLB_IsDynamicToggleRegistered("/dynamic"));
    });
}

TEST(RegisterToggle, UnknownTokenBecomesKnown) {
    for (const ToggleKind* kind : kBothKinds) {
        SCOPED_TRACE(kind->name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            for (const char* token : {"core", "", "with spaces and /slashes\\", "\xC3\xBC\xFF"}) {
                SCOPED_TRACE(token);
                EXPECT_FALSE(KLB_IsToggleFileRegistered(token));
                observer.expectSilence(
                    [&] { kind->registerToggle(("/" + std::string(token)).c_str(), true, token); });
                EXPECT_TRUE(KLB_IsToggleFileRegistered(token));
            }
        });
    }
}

TEST(RegisterToggle, TokensAreComparedByteForByte) {
    const TempDirectory directory;
    const LibrarySession library;
    registerPlainFile("core", directory.write("core.json", featuresFile(R"("a":true,"b":true)")));
    EXPECT_FALSE(registeredValue("/a", false, "Core"));
    EXPECT_TRUE(registeredValue("/b", false, "core"));
    EXPECT_TRUE(KLB_IsToggleFileRegistered("Core"));
    EXPECT_FALSE(KLB_IsToggleFileRegistered("CORE"));
    EXPECT_FALSE(KLB_IsToggleFileRegistered("core "));
    EXPECT_FALSE(KLB_IsToggleFileRegistered("cor"));
}

TEST(RegisterToggle, KeysAreComparedByteForByte) {
    const TempDirectory directory;
    const LibrarySession library;
    registerPlainFile("core",
                      directory.write("core.json", featuresFile(R"("key":true,"Key":false)")));
    EXPECT_TRUE(registeredValue("/key", false, "core"));
    for (const char* key : {"/Key", "/KEY", "/key ", "/key/", "//key", "/ke"}) {
        SCOPED_TRACE(key);
        EXPECT_FALSE(KLB_IsToggleRegistered(key));
        EXPECT_FALSE(registeredValue(key, false, "core"));
        EXPECT_TRUE(KLB_IsToggleRegistered(key));
    }
    EXPECT_TRUE(KLB_GetToggle("/key"));
}

TEST(RegisterToggle, TextsAreCopied) {
    const LibrarySession library;
    std::string key = "/copied";
    std::string token = "core";
    KLB_RegisterToggle(key.c_str(), true, token.c_str());
    key.assign("/erased");
    token.assign("none");
    EXPECT_TRUE(KLB_GetToggle("/copied"));
    EXPECT_FALSE(KLB_IsToggleRegistered("/erased"));
    EXPECT_TRUE(KLB_IsToggleFileRegistered("core"));
    EXPECT_FALSE(KLB_IsToggleFileRegistered("none"));
}

TEST(RegisterToggle, FileValueReplacesTheDefault) {
    const struct {
        const char* key;
        std::optional<bool> inFile;
    } cases[] = {
        {"/group/on", true}, {"/group/off", false}, {"/group/absent", std::nullopt},
        {"/on", true},       {"/off", false},       {"/absent", std::nullopt},
    };
    const TempDirectory directory;
    const std::string path = directory.write(
        "core.json", featuresFile(R"("on":true,"off":false,"group":{"on":true,"off":false})"));
    for (const ToggleKind* kind : kBothKinds) {
        SCOPED_TRACE(kind->name);
        for (const bool defaultValue : {false, true}) {
            SCOPED_TRACE(defaultValue ? "default true" : "default false");
            inBothErrorModes([&](ErrorObserver& observer) {
                const LibrarySession library;
                observer.expectSilence([&] {
                    registerPlainFile("core", path);
                    for (const auto& c : cases) {
                        SCOPED_TRACE(c.key);
                        kind->registerToggle(c.key, defaultValue, "core");
                        EXPECT_EQ(kind->get(c.key), c.inFile.value_or(defaultValue));
                    }
                });
            });
        }
    }
}

TEST(RegisterToggle, OnlyTheFileOfItsOwnTokenCounts) {
    const TempDirectory directory;
    const LibrarySession library;
    registerPlainFile("first", directory.write("first.json", featuresFile(R"("a":true,"b":true)")));
    registerPlainFile("second", directory.write("second.json", featuresFile(R"("a":false)")));
    EXPECT_FALSE(registeredValue("/a", true, "second"));
    EXPECT_FALSE(registeredValue("/b", false, "second"));
    EXPECT_FALSE(registeredValue("/c", false, "first"));
}

TEST(RegisterToggle, DefaultStandsWithoutAUsableFile) {
    const struct {
        const char* name;
        std::optional<std::string> bytes;
    } cases[] = {
        {"missing", std::nullopt},
        {"too small", "{}"},
        {"not a plain document", " " + featuresFile(R"("a":true,"b":false)")},
        {"damaged", featuresFile(R"("a":true,"b":false)") + "}"},
        {"another system's", R"({"header":{"systemId":"Other"},"features":{"a":true,"b":false}})"},
        {"no such members", featuresFile(R"("c":true)")},
        {"entries that are no booleans", featuresFile(R"("a":1,"b":{"KLB_DefaultValue":false})")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const TempDirectory directory;
        const std::string path =
            c.bytes ? directory.write("core.json", *c.bytes) : directory.pathOf("core.json");
        const MessageRecorder ignored;
        const LibrarySession library;
        registerPlainFile("core", path);
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        EXPECT_TRUE(registeredValue("/b", true, "core"));
        EXPECT_FALSE(registeredValue("/other", false, "token without a file"));
        EXPECT_TRUE(registeredValue("/another", true, "token without a file"));
    }
}

TEST(RegisterToggle, FileAttachedLaterDoesNotRevisitToggles) {
    const TempDirectory directory;
    const std::string path =
        directory.write("core.json", featuresFile(R"("early":true,"late":true)"));
    const MessageRecorder ignored;
    const LibrarySession library;
    EXPECT_FALSE(registeredValue("/early", false, "core"));
    registerPlainFile("core", path);
    EXPECT_FALSE(KLB_GetToggle("/early"));
    // The token was first named by a toggle: its file is read as a protected one, and this is none.
    EXPECT_FALSE(registeredValue("/late", false, "core"));
}

TEST(RegisterToggle, SameKeyAndTokenAgainChangesNothing) {
    const TempDirectory directory;
    const std::string path = directory.write("core.json", featuresFile(R"("inFile":true)"));
    for (const ToggleKind* first : kBothKinds) {
        SCOPED_TRACE(first->name);
        for (const ToggleKind* again : kBothKinds) {
            SCOPED_TRACE(again->name);
            inBothErrorModes([&](ErrorObserver& observer) {
                const LibrarySession library;
                observer.expectSilence([&] {
                    registerPlainFile("core", path);
                    for (const char* key : {"/inFile", "/byDefault", "", "noSlash"}) {
                        SCOPED_TRACE(key);
                        first->registerToggle(key, true, "core");
                        again->registerToggle(key, true, "core");
                        again->registerToggle(key, false, "core");
                        EXPECT_TRUE(first->isRegistered(key));
                        EXPECT_EQ(again->isRegistered(key), first == again);
                    }
                    EXPECT_TRUE(first->get("/inFile"));
                    EXPECT_TRUE(first->get("/byDefault"));
                });
            });
        }
    }
}

TEST(RegisterToggle, SameKeyAndTokenAgainKeepsAChangedValue) {
    const LibrarySession library;
    KLB_RegisterDynamicToggle("/a", false, "core");
    KLB_SetDynamicToggle("/a", true);
    KLB_RegisterDynamicToggle("/a", false, "core");
    EXPECT_TRUE(KLB_GetDynamicToggle("/a"));
}

/// A token that holds a toggle already, and the path that a refused registration names for it.
struct Holder {
    const char* token;
    std::string path;
};

TEST(RegisterToggle, SameKeyWithAnotherTokenIsAnError) {
    const TempDirectory directory;
    const ScopedEnvironment programData("PROGRAMDATA", directory.path());
    directory.makeDirectory("Mosk/Support");
    const std::string bytes = featuresFile(R"("full":true,"relative":true)");
    const std::string full = directory.write("full.json", bytes);
    const std::string relative = directory.write("Mosk/Support/relative.json", bytes);
    const std::string damaged = directory.write("damaged.json", bytes + "}");
    const std::string missing = directory.pathOf("missing.json");

    for (const ToggleKind* first : kBothKinds) {
        SCOPED_TRACE(first->name);
        for (const ToggleKind* again : kBothKinds) {
            SCOPED_TRACE(again->name);
            inBothErrorModes([&](ErrorObserver& observer) {
                const LibrarySession library;
                observer.expectSilence([&] {
                    registerPlainFile("full", full);
                    registerPlainFile("relative", "relative.json");
                    registerPlainFile("missing", missing);
                });
                observer.expectError<std::domain_error>(
                    loadErrorText("ParseErrorDocumentRootNotSingular", damaged, bytes.size()),
                    [&] { registerPlainFile("damaged", damaged); });
                observer.expectError<std::domain_error>(
                    ownedFileText("refused"), [&] { registerPlainFile("refused", full); });

                const Holder holders[] = {
                    {"full", full},       {"relative", relative}, {"missing", missing},
                    {"damaged", damaged}, {"refused", ""},        {"no file", ""},
                };
                for (const Holder& holder : holders) {
                    SCOPED_TRACE(holder.token);
                    const std::string key = "/" + std::string(holder.token);
                    const std::string other = "other than " + std::string(holder.token);
                    observer.expectSilence(
                        [&] { first->registerToggle(key.c_str(), true, holder.token); });
                    const std::string text =
                        "registerToggle: " + key + " already registred in " + holder.path;

                    EXPECT_FALSE(KLB_IsToggleFileRegistered(other.c_str()));
                    observer.expectError<std::domain_error>(
                        text, [&] { again->registerToggle(key.c_str(), false, other.c_str()); });
                    EXPECT_TRUE(lockIsFree());
                    EXPECT_TRUE(KLB_IsToggleFileRegistered(other.c_str()));
                    observer.expectError<std::domain_error>(
                        text, [&] { again->registerToggle(key.c_str(), false, other.c_str()); });

                    EXPECT_TRUE(first->isRegistered(key.c_str()));
                    EXPECT_EQ(again->isRegistered(key.c_str()), first == again);
                    EXPECT_TRUE(first->get(key.c_str()));
                    observer.expectSilence(
                        [&] { again->registerToggle(key.c_str(), false, holder.token); });
                    EXPECT_TRUE(first->get(key.c_str()));
                }
            });
        }
    }
}

TEST(RegisterToggle, SecondTokenIsRefusedEvenWhenItsFileIsBetter) {
    const TempDirectory directory;
    const LibrarySession library;
    const MessageRecorder ignored;
    registerPlainFile("second", directory.write("second.json", featuresFile(R"("a":true)")));
    KLB_RegisterToggle("/a", false, "first");
    KLB_RegisterToggle("/a", false, "second");
    EXPECT_FALSE(KLB_GetToggle("/a"));
}

TEST(RegisterToggle, KeysWithoutLeadingSlashAreAcceptedAndNeverAnswer) {
    const struct {
        const char* key;
        const char* whenRead;
        const char* whenSet;
    } cases[] = {
        {"", "getToggle: key cannot be an empty string.",
         "setDynamicToggle: key cannot be an empty string."},
        {"a", "getToggle: key must start with '/' character.",
         "setDynamicToggle: key must start with '/' character."},
        {"group/a", "getToggle: key must start with '/' character.",
         "setDynamicToggle: key must start with '/' character."},
        {" /a", "getToggle: key must start with '/' character.",
         "setDynamicToggle: key must start with '/' character."},
        {"\\a", "getToggle: key must start with '/' character.",
         "setDynamicToggle: key must start with '/' character."},
        {"KLB_DefaultValue", "getToggle: key must start with '/' character.",
         "setDynamicToggle: key must start with '/' character."},
    };
    const TempDirectory directory;
    const std::string path = directory.write(
        "core.json",
        featuresFile(
            R"("":true,"a":true,"group":{"a":true},"group/a":true,"KLB_DefaultValue":true)"));
    for (const ToggleKind* kind : kBothKinds) {
        SCOPED_TRACE(kind->name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            registerPlainFile("core", path);
            for (const auto& c : cases) {
                SCOPED_TRACE(c.key);
                observer.expectSilence([&] { kind->registerToggle(c.key, true, "core"); });
                EXPECT_TRUE(kind->isRegistered(c.key));
                observer.expectError<std::invalid_argument>(
                    c.whenRead, [&] { EXPECT_FALSE(kind->get(c.key)); });
                observer.expectError<std::invalid_argument>(
                    c.whenSet, [&] { KLB_SetDynamicToggle(c.key, false); });
                observer.expectError<std::domain_error>(
                    "registerToggle: " + std::string(c.key) + " already registred in " + path,
                    [&] { kind->registerToggle(c.key, true, "other"); });
                EXPECT_TRUE(kind->isRegistered(c.key));
            }
        });
    }
}

} // namespace

} // namespace klb::test
