#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "sessions.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

/// A member "a" of that value, or none.
std::string member(std::optional<bool> value) {
    return value ? *value ? R"("a":true)" : R"("a":false)" : R"("other":true)";
}

TEST(OverrideFile, WinsOverFileAndDefault) {
    const std::optional<bool> entries[] = {std::nullopt, false, true};
    for (const std::optional<bool> inOverride : entries) {
        SCOPED_TRACE("override file: " + member(inOverride));
        for (const std::optional<bool> inFile : entries) {
            SCOPED_TRACE("toggle file: " + member(inFile));
            const TempDirectory directory;
            directory.write(kOverrideFile, documentWith(member(inOverride)));
            const std::string path = directory.write("core.json", featuresFile(member(inFile)));
            for (const bool defaultValue : {false, true}) {
                SCOPED_TRACE(defaultValue ? "default true" : "default false");
                for (const ToggleKind* kind : kBothKinds) {
                    SCOPED_TRACE(kind->name);
                    inBothErrorModes([&](ErrorObserver& observer) {
                        const OverridingSession session(directory);
                        observer.expectSilence([&] {
                            registerPlainFile("core", path);
                            kind->registerToggle("/a", defaultValue, "core");
                            EXPECT_EQ(kind->get("/a"),
                                      inOverride.value_or(inFile.value_or(defaultValue)));
                        });
                    });
                }
            }
        }
    }
}

TEST(OverrideFile, SetsTogglesOfEveryToken) {
    const TempDirectory directory;
    directory.write(kOverrideFile, documentWith(R"("a":true,"b":false,"c":{"d":true},"e":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        observer.expectSilence([&] {
            registerPlainFile("core", directory.write("core.json", featuresFile(R"("a":false)")));
            registerPlainFile("missing", directory.pathOf("missing.json"));
            EXPECT_TRUE(registeredValue("/a", false, "core"));
            EXPECT_FALSE(registeredValue("/b", true, "missing"));
            EXPECT_TRUE(registeredValue("/c/d", false, "no file"));
            EXPECT_TRUE(registeredValue("/e", false, ""));
            EXPECT_TRUE(registeredValue("/f", true, "no file"));
        });
    });
}

TEST(OverrideFile, IsSearchedFromItsRoot) {
    const TempDirectory directory;
    directory.write(kOverrideFile, R"({"header":{"systemId":"TestSystem","flag":true},)"
                                   R"("features":{"a":true,"features":{"b":true}},"c":true})");
    const OverridingSession session(directory);
    EXPECT_FALSE(registeredValue("/a", false, "core"));
    EXPECT_FALSE(registeredValue("/features/b", false, "core"));
    EXPECT_TRUE(registeredValue("/features/a", false, "core"));
    EXPECT_TRUE(registeredValue("/features/features/b", false, "core"));
    EXPECT_TRUE(registeredValue("/c", false, "core"));
    EXPECT_TRUE(registeredValue("/header/flag", false, "core"));
    EXPECT_FALSE(registeredValue("/header/systemId", false, "core"));
}

TEST(OverrideFile, NeedsNoHeader) {
    const TempDirectory directory;
    directory.write(kOverrideFile, R"({"a":true})");
    const OverridingSession session(directory);
    EXPECT_TRUE(registeredValue("/a", false, "core"));
}

TEST(OverrideFile, ValueCanStillBeChangedDynamically) {
    const TempDirectory directory;
    directory.write(kOverrideFile, documentWith(R"("a":true)"));
    const OverridingSession session(directory);
    KLB_RegisterDynamicToggle("/a", false, "core");
    EXPECT_TRUE(KLB_GetDynamicToggle("/a"));
    KLB_SetDynamicToggle("/a", false);
    EXPECT_FALSE(KLB_GetDynamicToggle("/a"));
    KLB_RegisterDynamicToggle("/a", false, "core");
    EXPECT_FALSE(KLB_GetDynamicToggle("/a"));
    KLB_SetDynamicToggle("/a", true);
    EXPECT_TRUE(KLB_GetDynamicToggle("/a"));
}

TEST(OverrideFile, IsNotTouchedWhileOverridesAreDisabled) {
    for (const char* bytes : {R"({"a":true,"b":true})", "{\"a\":true,", ""}) {
        SCOPED_TRACE(bytes);
        const TempDirectory directory;
        directory.write(kOverrideFile, bytes);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library("TestSystem", false);
            observer.expectSilence([&] {
                KLB_SetOverridePath(directory.path().c_str());
                EXPECT_FALSE(registeredValue("/a", false, "core"));
                EXPECT_FALSE(registeredValue("/b", false, "core"));
                EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
            });
        });
    }
}

TEST(OverrideFile, IsRegisteredByTheFirstToggle) {
    for (const bool present : {false, true}) {
        SCOPED_TRACE(present ? "present" : "missing");
        for (const ToggleKind* kind : kBothKinds) {
            SCOPED_TRACE(kind->name);
            const TempDirectory directory;
            if (present) {
                directory.write(kOverrideFile, documentWith(R"("a":true)"));
            }
            inBothErrorModes([&](ErrorObserver& observer) {
                const OverridingSession session(directory);
                observer.expectSilence([&] {
                    registerPlainFile("core", directory.pathOf("missing.json"));
                    kind->isRegistered("/a");
                });
                observer.expectError<std::invalid_argument>(
                    "registerToggle: toggleKey cannot be NULL.",
                    [&] { kind->registerToggle(nullptr, false, "core"); });
                observer.expectError<std::invalid_argument>(
                    "registerToggle: toggleFileToken cannot be NULL.",
                    [&] { kind->registerToggle("/a", false, nullptr); });
                EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
                observer.expectSilence([&] { kind->registerToggle("/a", false, "core"); });
                EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));
                EXPECT_EQ(kind->get("/a"), present);
            });
        }
    }
}

TEST(OverrideFile, IsReadOnceByTheFirstToggle) {
    const TempDirectory directory;
    const OverridingSession session(directory);
    directory.write(kOverrideFile, documentWith(R"("a":true,"b":true)"));
    EXPECT_TRUE(registeredValue("/a", false, "core"));
    directory.write(kOverrideFile, documentWith(R"("a":false,"b":false)"));
    EXPECT_TRUE(registeredValue("/b", false, "core"));
    EXPECT_TRUE(KLB_GetToggle("/a"));
}

TEST(OverrideFile, MissingAtTheFirstToggleIsMissingForGood) {
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        observer.expectSilence([&] {
            EXPECT_FALSE(registeredValue("/a", false, "core"));
            directory.write(kOverrideFile, documentWith(R"("a":true,"b":true)"));
            EXPECT_FALSE(registeredValue("/b", false, "core"));
        });
        directory.remove(kOverrideFile);
    });
}

TEST(OverrideFile, LoadErrorIsReportedOnceAndThenThereAreNoOverrides) {
    const struct {
        DamagedDocument document;
        const char* error;
    } cases[] = {
        {{"", 0}, "FileTooSmall"},
        {{R"({"":true})", 0}, "FileTooSmall"},
        {damagedAt(R"({"a":true,"b":true^)"), "ParseErrorObjectMissCommaOrCurlyBracket"},
        {damagedAt(R"({"a":true} ^{"b":true})"), "ParseErrorDocumentRootNotSingular"},
        {{R"({"header":[],"a":true,"b":true})", 0}, "ErrorHeaderRootMustBeObject"},
        {{R"({"header":{},"a":true,"b":true})", 0}, "ErrorSystemIdMustBeString"},
        {{R"({"header":{"systemId":"Other"},"a":true,"b":true})", 0}, "ErrorSystemIdDoesNotMatch"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.document.bytes);
        for (const ToggleKind* kind : kBothKinds) {
            SCOPED_TRACE(kind->name);
            const TempDirectory directory;
            const std::string overridePath = directory.write(kOverrideFile, c.document.bytes);
            const std::string path = directory.write("core.json", featuresFile(R"("b":false)"));
            inBothErrorModes([&](ErrorObserver& observer) {
                const OverridingSession session(directory);
                observer.expectSilence([&] { registerPlainFile("core", path); });
                observer.expectError<std::domain_error>(
                    loadErrorText(c.error, overridePath, c.document.offset),
                    [&] { kind->registerToggle("/a", false, "new"); });
                EXPECT_TRUE(lockIsFree());
                EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));
                // Reported to a callback, the error stops nothing; thrown, it stops the toggle.
                EXPECT_EQ(kind->isRegistered("/a"), observer.hasCallback());
                EXPECT_EQ(KLB_IsToggleFileRegistered("new"), observer.hasCallback());

                observer.expectSilence([&] {
                    kind->registerToggle("/a", false, "new");
                    kind->registerToggle("/b", true, "core");
                });
                EXPECT_TRUE(kind->isRegistered("/a"));
                EXPECT_FALSE(kind->get("/a"));
                EXPECT_FALSE(kind->get("/b"));
            });
        }
    }
}

TEST(OverrideFile, LoadErrorThrownOnceIsNotReportedToALaterCallback) {
    const TempDirectory directory;
    directory.write(kOverrideFile, "{\"a\":true,");
    const OverridingSession session(directory);
    EXPECT_THROW(KLB_RegisterToggle("/a", false, "core"), std::domain_error);
    MessageRecorder recorder;
    EXPECT_FALSE(registeredValue("/a", false, "core"));
    EXPECT_EQ(recorder.take(), std::vector<Message>{});
}

TEST(OverrideFile, ThatIsNoPlainDocumentIsReadAgainForEveryNewToggle) {
    const std::string document = documentWith(R"("a":true,"b":true,"c":true)");
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        directory.write(kOverrideFile, "\n" + document);
        observer.expectSilence([&] {
            EXPECT_FALSE(registeredValue("/a", false, "core"));
            directory.write(kOverrideFile, document);
            // A repeated registration creates no toggle and changes none.
            EXPECT_FALSE(registeredValue("/a", false, "core"));
            EXPECT_TRUE(registeredValue("/b", false, "core"));
            directory.write(kOverrideFile, "{}");
            EXPECT_TRUE(registeredValue("/c", false, "core"));
        });
    });
}

TEST(OverrideFile, ErrorMetWhenReadAgainIsKeptAndNotReported) {
    const std::string document = documentWith(R"("a":true,"b":true,"c":true)");
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        directory.write(kOverrideFile, " " + document);
        observer.expectSilence([&] {
            EXPECT_FALSE(registeredValue("/a", false, "core"));
            directory.write(kOverrideFile, document + "}");
            EXPECT_FALSE(registeredValue("/b", false, "core"));
            directory.write(kOverrideFile, document);
            EXPECT_FALSE(registeredValue("/c", false, "core"));
        });
    });
}

TEST(OverrideFile, CannotBeRegisteredUnderAnotherTokenLater) {
    const TempDirectory directory;
    const std::string overridePath =
        directory.write(kOverrideFile, documentWith(R"("a":true,"b":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        observer.expectError<std::domain_error>(ownedFileText("mine"),
                                                [&] { registerPlainFile("mine", overridePath); });
        EXPECT_TRUE(KLB_IsToggleFileRegistered("mine"));
        EXPECT_TRUE(registeredValue("/b", false, "mine"));
    });
}

TEST(OverrideFile, RefusedKeyNamesTheTogglesFileNotTheOverrideFile) {
    const TempDirectory directory;
    directory.write(kOverrideFile, documentWith(R"("a":true)"));
    const std::string path = directory.write("core.json", featuresFile(R"("a":false)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        registerPlainFile("core", path);
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        observer.expectError<std::domain_error>("registerToggle: /a already registred in " + path,
                                                [] { KLB_RegisterToggle("/a", false, "other"); });
        EXPECT_TRUE(KLB_GetToggle("/a"));
    });
}

TEST(OverrideFile, KeysWithoutLeadingSlashStillFindNothing) {
    const TempDirectory directory;
    directory.write(kOverrideFile, documentWith(R"("":true,"a":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const OverridingSession session(directory);
        observer.expectSilence([] {
            KLB_RegisterToggle("", false, "core");
            KLB_RegisterToggle("a", false, "core");
        });
        EXPECT_TRUE(KLB_IsToggleRegistered(""));
        EXPECT_TRUE(KLB_IsToggleRegistered("a"));
        EXPECT_TRUE(registeredValue("/", false, "core"));
        EXPECT_TRUE(registeredValue("/a", false, "core"));
    });
}

} // namespace

} // namespace klb::test
