#include "protected_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace klb::test {

namespace {

/// The lines of base64 text joined, without their ends.
std::string joined(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    return text;
}

/// Text without line ends, broken into lines of this length, each with this end.
std::string broken(const std::string& text, std::size_t length, std::string_view end) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); at += length) {
        result.append(text, at, length);
        result += end;
    }
    return result;
}

TEST(DecryptContent, PlainTextIsTheSignedMessageWhenCheckingIsOn) {
    expectOutcome(made("rsa.klb"), hostGives(made("rsa.pem")), kAccepted);
    expectOutcome(made("json.klb"), hostGives(made("rsa.pem")), refused(kOtherComputer));
    expectOutcome(made("json.klb"), kNobody, refused(kOtherComputer));
}

TEST(DecryptContent, PlainTextIsTheDocumentWhenCheckingIsOff) {
    expectOutcome(made("json.klb"), kCheckingOff, kAccepted);
    expectOutcome(made("json-headless.klb"), kCheckingOff, kAccepted);
    expectOutcome(made("rsa.klb"), kCheckingOff, refused(kOtherComputer));
    expectOutcome(made("rsa-opaque.klb"), kCheckingOff, refused(kOtherComputer));
}

TEST(DecryptContent, DocumentIsHeldToTheRulesOfDocuments) {
    const std::string headless = R"({"features":{"a":true,"b":false,"c":true}})";
    const struct {
        const char* file;
        Outcome outcome;
    } cases[] = {
        {"json-other-header.klb", refused("ErrorSystemIdDoesNotMatch")},
        {"json-brace.klb", refused("ParseErrorObjectMissName", 1)},
        {"json-more.klb", refused("ParseErrorDocumentRootNotSingular", headless.size())},
        {"json-zero.klb", kAccepted},
        {"json-array.klb", refused(kOtherComputer)},
        {"json-space.klb", refused(kOtherComputer)},
        {"json-mark.klb", refused(kOtherComputer)},
        {"json-string.klb", refused(kOtherComputer)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        expectOutcome(made(c.file), kCheckingOff, c.outcome);
    }
}

TEST(DecryptContent, MessageBeginsWithItsVersion) {
    const struct {
        const char* file;
        Outcome outcome;
    } cases[] = {
        {"mail-headers.klb", refused(kOtherComputer)},
        {"line-in-front.klb", refused(kOtherComputer)},
        {"other-version.klb", refused(kOtherComputer)},
        {"other-case.klb", refused(kOtherComputer)},
        {"version-cut.klb", refused(kOtherComputer)},
        {"version-alone.klb", refused(kNoMessage)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        expectOutcome(made(c.file), hostGives(made("rsa.pem")), c.outcome);
    }
}

TEST(DecryptContent, WithoutMagicOrSaltTheFileIsUnreadable) {
    const std::string json = R"({"header":{"systemId":"TestSystem"},"features":{"a":true}})";
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"plain toggle file", json},
        {"plain toggle file with lines", "{\n\"features\":\n{\n\"a\":\ntrue\n}\n}\n"},
        {"plain toggle file of some size", made("document.klb")},
        {"signed message", made("rsa-unsealed.klb")},
        {"envelope without its base64", made("rsa-binary.klb")},
        {"ten letters", "AAAAAAAAAA"},
        {"ten letters and a line's end", "AAAAAAAAAA\n"},
        {"line ends", std::string(100, '\n')},
        {"zeros", std::string(100, '\0')},
        {"bytes with all bits", std::string(100, '\xFF')},
        {"words", "these are words, and no base64 at all\n"},
        {"magic cut", made("short-magic.klb")},
        {"magic alone", made("no-salt.klb")},
        {"salt cut", made("short-salt.klb")},
        {"a letter that is none of base64", "!" + made("rsa.klb").substr(0, 64) + "\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(c.bytes, hostGives(made("rsa.pem")), refused(kUnreadable));
        expectOutcome(c.bytes, kCheckingOff, refused(kUnreadable));
    }
}

TEST(DecryptContent, SizeIsCheckedFirst) {
    const struct {
        const char* bytes;
        const char* error;
    } cases[] = {
        {"", "FileTooSmall"},
        {"U2FsdGVk\n", "FileTooSmall"},
        {"U2FsdGVkX\n", "error reading input file\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        expectOutcome(c.bytes, kNobody, refused(c.error));
        expectOutcome(c.bytes, kCheckingOff, refused(c.error));
    }
}

TEST(DecryptContent, MagicIsComparedByteForByte) {
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"sixteen zeros", "AAAAAAAAAAAAAAAAAAAAAA==\n"},
        {"lower case", made("magic-salted__.klb")},
        {"upper case", made("magic-SALTED__.klb")},
        {"last byte", made("magic-Salted_..klb")},
        {"moved by one", made("magic-_Salted_.klb")},
        {"base64 of something else", made("rsa-unencrypted.klb")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(c.bytes, hostGives(made("rsa.pem")), refused(kBadMagic));
        expectOutcome(c.bytes, kCheckingOff, refused(kBadMagic));
    }
}

TEST(DecryptContent, PasswordIsTheSystemIdentifier) {
    const std::string longId(1000, 'S');
    const struct {
        const char* file;
        std::string system;
    } cases[] = {
        {"json-headless.klb", kSystem},
        {"json-spaces.klb", "a system, with spaces & \"quotes\""},
        {"json-utf8.klb", "Syst\xC3\xA8me-\xE6\x97\xA5\xE6\x9C\xAC"},
        {"json-latin1.klb", "Syst\xE8me"},
        {"json-long.klb", longId},
        {"json-one-letter.klb", "x"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        expectOutcome(made(c.file), kCheckingOff, kAccepted, c.system.c_str());
    }
}

#if !defined(_WIN32)
TEST(DecryptContent, PasswordIsTheDeviceIdentifierWhenTheHostGivesNone) {
    const std::ifstream file(madePath("json-device.klb"));
    if (!file) {
        GTEST_SKIP() << "this computer has no /etc/machine-id to seal a file for";
    }
    expectOutcome(made("json-device.klb"), kCheckingOff, kAccepted, "");
}
#endif

TEST(DecryptContent, FileForAnotherSystemIsTakenForCorrupted) {
    for (const char* file : {"other-system.klb", "other-case-system.klb", "longer-system.klb"}) {
        SCOPED_TRACE(file);
        expectOutcome(made(file), hostGives(made("rsa.pem")), refused(kOtherComputer));
        expectOutcome(made(file), kNobody, refused(kOtherComputer));
    }
    expectOutcome(made("rsa.klb"), hostGives(made("rsa.pem")), refused(kOtherComputer),
                  "OtherSystem");
    expectOutcome(made("other-system.fixed.klb"), kCheckingOff, refused(kOtherComputer));
}

/// Whether the library has the pair of cipher and digest for which make_files chose its salts.
bool hasTheDefaultPair() {
    return std::string_view(KLB_PROTECTED_PAIR) == "aes-256-cbc sha256";
}

TEST(DecryptContent, WrongKeyThatYieldsABraceFailsInTheParser) {
    if (!hasTheDefaultPair()) {
        GTEST_SKIP() << "the salt was chosen for aes-256-cbc and sha256, not " KLB_PROTECTED_PAIR;
    }
    expectOutcome(made("other-system-brace.fixed.klb"), kCheckingOff,
                  refused("ParseErrorObjectMissName", 1));
    expectOutcome(made("other-system-brace.fixed.klb"), kNobody, refused(kOtherComputer));
}

TEST(DecryptContent, NothingToDecryptIsSilent) {
    if (!hasTheDefaultPair()) {
        GTEST_SKIP() << "blocks are counted for aes-256-cbc, not " KLB_PROTECTED_PAIR;
    }
    for (const char* file : {"no-ciphertext.klb", "no-block.klb", "json-nothing.klb",
                             "other-system-short.fixed.klb"}) {
        SCOPED_TRACE(file);
        expectOutcome(made(file), hostGives(made("rsa.pem")), kSilence);
        expectOutcome(made(file), kNobody, kSilence);
        expectOutcome(made(file), kCheckingOff, kSilence);
    }
}

/// The envelope without the last bytes of its ciphertext. It has no "=" at its end: three bytes to
/// four letters.
std::string shortened(const std::string& base64, std::size_t bytes) {
    const std::string letters = joined(base64);
    const std::size_t kept = (letters.size() / 4 * 3 - bytes) / 3 * 4;
    return broken(letters.substr(0, kept), 64, "\n");
}

TEST(DecryptContent, CutCiphertextIsLeftToTheParser) {
    if (!hasTheDefaultPair()) {
        GTEST_SKIP() << "blocks are counted for aes-256-cbc, not " KLB_PROTECTED_PAIR;
    }
    // 16 bytes of magic and salt, then five blocks: 96 bytes, and 128 letters.
    const std::string whole = made("json.fixed.klb");
    ASSERT_EQ(joined(whole).size(), 128U);
    ASSERT_NE(joined(whole).back(), '=');
    const struct {
        std::size_t cut;
        const char* error;
        std::uint64_t left;
    } cases[] = {
        // The last block is not whole: four are left.
        {3, "ParseErrorStringMissQuotationMark", 64},
        {15, "ParseErrorStringMissQuotationMark", 64},
        {18, "ParseErrorStringMissQuotationMark", 48},
        {33, "ParseErrorObjectMissColon", 32},
        // Two whole blocks, the last of which has no padding.
        {48, "ParseErrorValueInvalid", 16},
    };
    expectOutcome(whole, kCheckingOff, kAccepted);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.cut);
        expectOutcome(shortened(whole, c.cut), kCheckingOff, refused(c.error, c.left));
    }
}

TEST(DecryptContent, EmptyPlainTextIsReadAgainByTheNextToggle) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession library;
        observer.expectSilence([&] {
            KLB_SetCertificateData(made("rsa.pem").c_str());
            const std::string path = directory.write("toggles.klb", made("no-ciphertext.klb"));
            registerProtectedFile(path);
            EXPECT_FALSE(registeredValue("/first", false, kToken));
            EXPECT_FALSE(registeredValue("/a", false, kToken));

            directory.write("toggles.klb", made("rsa.klb"));
            // Neither the file nor a toggle that is registered already reads again.
            registerProtectedFile(path);
            EXPECT_FALSE(registeredValue("/a", false, kToken));
            EXPECT_FALSE(registeredValue("/b", true, kToken));
            EXPECT_FALSE(KLB_GetToggle("/a"));

            directory.write("toggles.klb", made("no-ciphertext.klb"));
            KLB_RegisterDynamicToggle("/c", false, kToken);
            EXPECT_TRUE(KLB_GetDynamicToggle("/c"));
        });
    });
}

TEST(DecryptContent, ErrorMetWhenReadAgainIsKeptAndNotReported) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession library;
        observer.expectSilence([&] {
            KLB_SetCertificateData(made("rsa.pem").c_str());
            const std::string path = directory.write("toggles.klb", made("no-ciphertext.klb"));
            registerProtectedFile(path);
            directory.write("toggles.klb", made("json.klb"));
            EXPECT_FALSE(registeredValue("/a", false, kToken));
            directory.write("toggles.klb", made("rsa.klb"));
            registerProtectedFile(path);
            EXPECT_TRUE(registeredValue("/b", true, kToken));
        });
    });
}

TEST(DecryptContent, RefusedFileIsRefusedForGood) {
    const struct {
        const char* file;
        std::string error;
    } cases[] = {
        {"document.klb", kUnreadable},        {"rsa-unencrypted.klb", kBadMagic},
        {"other-system.klb", kOtherComputer}, {"signature-stripped.klb", kNoMessage},
        {"stranger.klb", kNotVerified},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        inBothErrorModes([&](ErrorObserver& observer) {
            const TempDirectory directory;
            const LibrarySession library;
            observer.expectSilence([] { KLB_SetCertificateData(made("rsa.pem").c_str()); });
            const std::string path = directory.write("toggles.klb", made(c.file));
            observer.expectError<std::domain_error>(loadErrorText(c.error, path),
                                                    [&] { registerProtectedFile(path); });
            directory.write("toggles.klb", made("rsa.klb"));
            observer.expectSilence([&] {
                registerProtectedFile(path);
                expectToggles(false);
            });
        });
    }
}

TEST(DecryptContent, TakesBase64InLines) {
    const std::string letters = joined(made("rsa.klb"));
    const std::string small = joined(made("json.fixed.klb"));
    ASSERT_GT(letters.size(), 3000U);
    const struct {
        std::size_t length;
        const char* name;
    } lengths[] = {{1, "1"},   {4, "4"},   {7, "7"},     {63, "63"},     {64, "64"},
                   {65, "65"}, {76, "76"}, {512, "512"}, {1000, "1000"}, {1022, "1022"}};
    const Trust trust = hostGives(made("rsa.pem"));
    for (const auto& [length, name] : lengths) {
        SCOPED_TRACE(name);
        expectOutcome(broken(letters, length, "\n"), trust, kAccepted);
        expectOutcome(broken(letters, length, "\r\n"), trust, kAccepted);
        const std::string lines = broken(letters, length, "\n");
        expectOutcome(lines.substr(0, lines.size() - 1), trust, kAccepted);
    }
    expectOutcome(small + "\n", kCheckingOff, kAccepted);
    expectOutcome(small + "\r\n", kCheckingOff, kAccepted);
    expectOutcome(broken(letters, 64, "\n\n"), trust, kAccepted);
    expectOutcome("\n" + made("rsa.klb"), trust, kAccepted);
    expectOutcome(made("rsa.klb") + "\n\n", trust, kAccepted);
}

TEST(DecryptContent, RefusesBase64WithoutLines) {
    const std::string letters = joined(made("rsa.klb"));
    const std::string small = joined(made("json.fixed.klb"));
    const struct {
        const char* name;
        std::string bytes;
        std::string error;
    } cases[] = {
        {"small and without a line's end", small, kUnreadable},
        {"large and without a line's end", letters, kUnreadable},
        {"CR only", broken(letters, 64, "\r"), kUnreadable},
        {"one large line", letters + "\n", kBadMagic},
        {"a first line of 1024", broken(letters, 1024, "\n"), kBadMagic},
        {"a first line of 1024 with CR LF", broken(letters, 1024, "\r\n"), kBadMagic},
        {"a first line of 2000", broken(letters, 2000, "\n"), kBadMagic},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(c.bytes, hostGives(made("rsa.pem")), refused(c.error));
        expectOutcome(c.bytes, kCheckingOff, refused(c.error));
    }
}

TEST(DecryptContent, IsForProtectedTypesOnly) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.klb", made("rsa.klb"));
    const struct {
        int type;
        Outcome outcome;
    } cases[] = {
        {1, kAccepted}, {3, kAccepted},         {-1, kAccepted},         {INT_MIN, kAccepted},
        {2, kSilence},  {0x7FFFFFFF, kSilence}, {0x7FFFFFFE, kAccepted},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectSilence([] { KLB_SetCertificateData(made("rsa.pem").c_str()); });
            expectOutcomeOf(observer, path, c.outcome, static_cast<KLB_ToggleFileType>(c.type));
        });
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectError<std::invalid_argument>(
            "registerToggleFile: toggleFileType is an unknown toggle file type.",
            [&] { KLB_RegisterToggleFile(KLB_ToggleFileType_Invalid, kToken, path.c_str()); });
        EXPECT_FALSE(KLB_IsToggleFileRegistered(kToken));
    });
}

TEST(DecryptContent, OverrideFileIsNeverDecrypted) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.write("CIT_OVERRIDE.KLB", made("json-headless.klb"));
        const LibrarySession library(kSystem, true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            KLB_SetCertificateData(nullptr);
            expectToggles(false);
        });
    });
}

TEST(DecryptContent, OverrideFileWinsOverAProtectedFile) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.write("CIT_OVERRIDE.KLB", R"({"a":false,"d":true})");
        const LibrarySession library(kSystem, true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            KLB_SetCertificateData(made("rsa.pem").c_str());
            registerProtectedFile(directory.write("toggles.klb", made("rsa.klb")));
            EXPECT_FALSE(registeredValue("/a", true, kToken));
            EXPECT_FALSE(registeredValue("/b", true, kToken));
            EXPECT_TRUE(registeredValue("/d", false, kToken));
        });
    });
}

} // namespace

} // namespace klb::test
