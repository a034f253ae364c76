#include "error_mode.h"
#include "library_session.h"
#include "lock_probe.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

const std::string kGood = featuresFile(R"("a":true,"b":true,"c":true)");
const std::string kBad = kGood + "}";

TEST(ToggleFileContent, LoadedFileIsNeverReadAgain) {
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            const std::string path = directory.write("toggles.json", kGood);
            registerPlainFile("core", path);
            EXPECT_TRUE(registeredValue("/a", false, "core"));
            directory.write("toggles.json", kBad);
            registerPlainFile("core", path);
            EXPECT_TRUE(registeredValue("/b", false, "core"));
            directory.remove("toggles.json");
            registerPlainFile("core", path);
            EXPECT_TRUE(registeredValue("/c", false, "core"));
        });
    });
}

TEST(ToggleFileContent, IsReadWhenTheFileIsRegistered) {
    const TempDirectory directory;
    const LibrarySession library;
    registerPlainFile("core", directory.write("toggles.json", kGood));
    directory.remove("toggles.json");
    EXPECT_TRUE(registeredValue("/a", false, "core"));
}

TEST(ToggleFileContent, MissingFileIsMissingForGood) {
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        const std::string path = directory.pathOf("toggles.json");
        observer.expectSilence([&] {
            registerPlainFile("core", path);
            EXPECT_FALSE(registeredValue("/a", false, "core"));
            directory.write("toggles.json", kGood);
            EXPECT_FALSE(registeredValue("/b", false, "core"));
            registerPlainFile("core", path);
            EXPECT_FALSE(registeredValue("/c", false, "core"));
        });
        EXPECT_TRUE(KLB_IsToggleFileRegistered("core"));
        directory.remove("toggles.json");
    });
}

TEST(ToggleFileContent, RefusedFileIsRefusedForGood) {
    const struct {
        std::string bytes;
        std::string error;
        std::size_t offset;
    } cases[] = {
        {"{}", "FileTooSmall", 0},
        {kBad, "ParseErrorDocumentRootNotSingular", kGood.size()},
        {R"({"header":{"systemId":"Other"},"features":{"a":true}})", "ErrorSystemIdDoesNotMatch",
         0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.error);
        const TempDirectory directory;
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            const std::string path = directory.write("toggles.json", c.bytes);
            observer.expectError<std::domain_error>(loadErrorText(c.error, path, c.offset),
                                                    [&] { registerPlainFile("core", path); });
            EXPECT_TRUE(lockIsFree());
            directory.write("toggles.json", kGood);
            observer.expectSilence([&] {
                EXPECT_FALSE(registeredValue("/a", false, "core"));
                registerPlainFile("core", path);
                EXPECT_FALSE(registeredValue("/b", false, "core"));
                KLB_RegisterDynamicToggle("/c", false, "core");
                EXPECT_FALSE(KLB_GetDynamicToggle("/c"));
            });
        });
    }
}

TEST(ToggleFileContent, ErrorOfOneFileDoesNotTouchAnother) {
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        const std::string bad = directory.write("bad.json", kBad);
        observer.expectError<std::domain_error>(
            loadErrorText("ParseErrorDocumentRootNotSingular", bad, kGood.size()),
            [&] { registerPlainFile("bad", bad); });
        observer.expectSilence([&] {
            registerPlainFile("good", directory.write("good.json", kGood));
            EXPECT_FALSE(registeredValue("/a", false, "bad"));
            EXPECT_TRUE(registeredValue("/b", false, "good"));
        });
    });
}

/// Starts of a file that make it no plain document, whatever follows.
const std::string kNotPlain[] = {
    " " + kGood,
    "\n" + kGood,
    "\r\n" + kGood,
    "\xEF\xBB\xBF" + kGood,
    "[" + kGood + "]",
    "not JSON at all",
    std::string(64, '\0'),
    "\"a string of text\"",
    std::string("\xFF\xFE{\0\"\0a\0\"\0:\0", 12),
};

TEST(ToggleFileContent, RefusesAPlainFileSilentlyThatDoesNotBeginWithABrace) {
    const TempDirectory directory;
    for (const std::string& bytes : kNotPlain) {
        SCOPED_TRACE(bytes);
        const std::string path = directory.write("toggles.json", bytes);
        for (const KLB_ToggleFileType type :
             {KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override}) {
            SCOPED_TRACE(static_cast<int>(type));
            inBothErrorModes([&](ErrorObserver& observer) {
                const LibrarySession library;
                observer.expectSilence([&] {
                    KLB_RegisterToggleFile(type, "core", path.c_str());
                    EXPECT_FALSE(registeredValue("/a", false, "core"));
                    EXPECT_TRUE(registeredValue("/other", true, "core"));
                });
                EXPECT_TRUE(KLB_IsToggleFileRegistered("core"));
            });
        }
    }
}

/// A session whose file "toggles.json" was registered as "core" while it was no plain document.
void withUnreadDocument(
    const std::function<void(const TempDirectory&, const std::string& path)>& body) {
    for (const std::string& bytes : kNotPlain) {
        SCOPED_TRACE(bytes);
        const TempDirectory directory;
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            const std::string path = directory.write("toggles.json", bytes);
            observer.expectSilence([&] {
                registerPlainFile("core", path);
                body(directory, path);
            });
        });
    }
}

TEST(ToggleFileContent, FileThatWasNoPlainDocumentIsReadAgainByTheNextToggle) {
    withUnreadDocument([](const TempDirectory& directory, const std::string&) {
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        directory.write("toggles.json", kGood);
        EXPECT_TRUE(registeredValue("/b", false, "core"));
        EXPECT_FALSE(KLB_GetToggle("/a"));
        directory.write("toggles.json", kBad);
        EXPECT_TRUE(registeredValue("/c", false, "core"));
    });
}

TEST(ToggleFileContent, ErrorMetWhenReadAgainIsKeptAndNotReported) {
    withUnreadDocument([](const TempDirectory& directory, const std::string& path) {
        directory.write("toggles.json", kBad);
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        directory.write("toggles.json", kGood);
        EXPECT_FALSE(registeredValue("/b", false, "core"));
        registerPlainFile("core", path);
        EXPECT_FALSE(registeredValue("/c", false, "core"));
    });
}

TEST(ToggleFileContent, FileThatHasGoneWhenReadAgainIsMissingForGood) {
    withUnreadDocument([](const TempDirectory& directory, const std::string&) {
        directory.remove("toggles.json");
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        directory.write("toggles.json", kGood);
        EXPECT_FALSE(registeredValue("/b", false, "core"));
    });
}

TEST(ToggleFileContent, OnlyANewToggleReadsAgain) {
    withUnreadDocument([](const TempDirectory& directory, const std::string& path) {
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        // Were it read now, the error would be final.
        directory.write("toggles.json", kBad);
        registerPlainFile("core", path);
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        EXPECT_FALSE(registeredValue("/elsewhere", false, "another token"));
        EXPECT_FALSE(KLB_IsToggleRegistered("/b"));
        directory.write("toggles.json", kGood);
        EXPECT_TRUE(registeredValue("/b", false, "core"));
    });
}

} // namespace

} // namespace klb::test
