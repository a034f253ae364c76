#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "message_recorder.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {
namespace {

const char* const kUnknownType =
    "registerToggleFile: toggleFileType is an unknown toggle file type.";
const char* const kNullToken = "registerToggleFile: toggleFileToken cannot be NULL.";
const char* const kNullFile = "registerToggleFile: toggleFile cannot be NULL.";
const char* const kEmptyFile = "registerToggleFile: toggleFile cannot be empty.";

const std::string kOn = R"("features":{"a":true,"b":true})";
const std::string kOff = R"("features":{"a":false,"b":false})";

KLB_ToggleFileType typeOf(int value) {
    return static_cast<KLB_ToggleFileType>(value);
}

TEST(RegisterToggleFile, BadArgumentsAreRefusedInOrder) {
    struct Case {
        const char* name;
        KLB_ToggleFileType type;
        const char* token;
        const char* file;
        const char* text;
    };
    const KLB_ToggleFileType invalid = KLB_ToggleFileType_Invalid;
    const KLB_ToggleFileType plain = KLB_ToggleFileType_Supported;
    const Case cases[] = {
        {"type", invalid, "token", "file.json", kUnknownType},
        {"type before token", invalid, nullptr, "file.json", kUnknownType},
        {"type before null file", invalid, "token", nullptr, kUnknownType},
        {"type before empty file", invalid, "token", "", kUnknownType},
        {"type before everything", invalid, nullptr, nullptr, kUnknownType},
        {"token", plain, nullptr, "file.json", kNullToken},
        {"token before null file", plain, nullptr, nullptr, kNullToken},
        {"token before empty file", plain, nullptr, "", kNullToken},
        {"token, odd type", typeOf(3), nullptr, "file.json", kNullToken},
        {"null file", plain, "token", nullptr, kNullFile},
        {"null file, override type", KLB_ToggleFileType_Override, "token", nullptr, kNullFile},
        {"empty file", plain, "token", "", kEmptyFile},
        {"empty file, protected type", KLB_ToggleFileType_Unsupported, "token", "", kEmptyFile},
    };
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession session;
        for (const Case& each : cases) {
            SCOPED_TRACE(each.name);
            observer.expectError<std::invalid_argument>(
                each.text, [&] { KLB_RegisterToggleFile(each.type, each.token, each.file); });
            EXPECT_FALSE(KLB_IsToggleFileRegistered("token"));
        }
        // Accepted only while nothing is registered.
        observer.expectSilence([] { KLB_SetOverridePath("D:\\cfg"); });
    });
}

TEST(RegisterToggleFile, BadArgumentsLeaveAKnownTokenAlone) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.write("file.json", documentWith(kOn));
        const LibrarySession session;
        registerPlainFile("token", file);
        observer.expectError<std::invalid_argument>(kUnknownType, [&] {
            KLB_RegisterToggleFile(KLB_ToggleFileType_Invalid, "token", file.c_str());
        });
        observer.expectError<std::invalid_argument>(
            kNullFile, [] { KLB_RegisterToggleFile(typeOf(2), "token", nullptr); });
        observer.expectError<std::invalid_argument>(
            kEmptyFile, [] { KLB_RegisterToggleFile(typeOf(2), "token", ""); });
        expectPath(observer, "token", file);
        EXPECT_TRUE(registeredValue("/a", false, "token"));
    });
}

TEST(RegisterToggleFile, EveryOtherTypeIsAccepted) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session;
        for (const int type : {1, 2, 3, 4, 255, 256, 65536, 0x7FFFFFFE, 0x7FFFFFFF, -1,
                               std::numeric_limits<int>::min()}) {
            SCOPED_TRACE(type);
            const std::string token = "token " + std::to_string(type);
            const std::string file = directory.pathOf(token + ".json");
            observer.expectSilence(
                [&] { KLB_RegisterToggleFile(typeOf(type), token.c_str(), file.c_str()); });
            EXPECT_TRUE(KLB_IsToggleFileRegistered(token.c_str()));
            expectPath(observer, token, file);
        }
    });
}

// A plain document is no protected file, so a token whose file is read as a protected one takes no
// values from it. What is reported about such a file belongs to the tests of protected files.
TEST(RegisterToggleFile, OnlySupportedAndOverrideFilesAreReadAsPlain) {
    struct Case {
        const char* key;
        int type;
        bool isPlain;
    };
    const TempDirectory directory;
    const std::string values =
        R"("features":{"t1":true,"t2":true,"t3":true,"minus":true,"override":true})";
    MessageRecorder recorder;
    const LibrarySession session;
    for (const Case& each : {Case{"/t1", 1, false}, Case{"/t2", 2, true}, Case{"/t3", 3, false},
                             Case{"/minus", -1, false}, Case{"/override", 0x7FFFFFFF, true}}) {
        SCOPED_TRACE(each.key);
        const std::string file =
            directory.write(std::string(each.key).substr(1), documentWith(values));
        KLB_RegisterToggleFile(typeOf(each.type), each.key, file.c_str());
        const std::vector<Message> messages = recorder.take();
        if (each.isPlain) {
            EXPECT_EQ(messages, std::vector<Message>{});
        }
        EXPECT_EQ(registeredValue(each.key, false, each.key), each.isPlain);
    }
}

TEST(RegisterToggleFile, ATokenFirstNamedByAToggleIsReadAsProtectedWhateverTheType) {
    const TempDirectory directory;
    const std::string file = directory.write("file.json", documentWith(kOn));
    MessageRecorder recorder;
    for (const int type : {1, 2, 3, 0x7FFFFFFF}) {
        SCOPED_TRACE(type);
        const LibrarySession session;
        EXPECT_FALSE(registeredValue("/a", false, "token"));
        KLB_RegisterToggleFile(typeOf(type), "token", file.c_str());
        recorder.take();
        EXPECT_FALSE(KLB_GetToggle("/a"));
        EXPECT_FALSE(registeredValue("/b", false, "token"));

        // The file itself is attached.
        registerPlainFile("token", directory.pathOf("other.json"));
        EXPECT_EQ(recorder.take(), std::vector<Message>{error(otherFileText(file))});
        registerPlainFile("other", file);
        EXPECT_EQ(recorder.take(), std::vector<Message>{error(ownedFileText("other"))});
    }
}

TEST(RegisterToggleFile, SameArgumentsAgainIsSilentAndLoadsNothing) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.write("file.json", documentWith(kOn));
        const LibrarySession session;
        observer.expectSilence([&] { registerPlainFile("token", file); });
        EXPECT_TRUE(registeredValue("/a", false, "token"));

        directory.write("file.json", "broken");
        observer.expectSilence([&] { registerPlainFile("token", file); });
        EXPECT_TRUE(registeredValue("/b", false, "token"));

        directory.remove("file.json");
        observer.expectSilence([&] { registerPlainFile("token", file); });
    });
}

TEST(RegisterToggleFile, SameFileAgainUnderAnotherTypeIsSilentAndKeepsTheFirst) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.write("file.json", documentWith(kOn));
        const LibrarySession session;
        registerPlainFile("token", file);
        for (const int type : {1, 3, 0x7FFFFFFF}) {
            SCOPED_TRACE(type);
            observer.expectSilence(
                [&] { KLB_RegisterToggleFile(typeOf(type), "token", file.c_str()); });
        }
        EXPECT_TRUE(registeredValue("/a", false, "token"));
    });
}

TEST(RegisterToggleFile, AnotherFileIsRefusedAndTheFirstStays) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string first = directory.write("first.json", documentWith(kOn));
        const std::string second = directory.write("second.json", documentWith(kOff));
        const LibrarySession session;
        registerPlainFile("token", first);

        for (int attempt = 0; attempt < 2; ++attempt) {
            observer.expectError<std::domain_error>(otherFileText(first),
                                                    [&] { registerPlainFile("token", second); });
        }

        EXPECT_TRUE(registeredValue("/a", false, "token"));
        observer.expectSilence([&] { registerPlainFile("token", first); });
        // The refused file belongs to nobody.
        observer.expectSilence([&] { registerPlainFile("other", second); });
        expectPath(observer, "other", second);
    });
}

TEST(RegisterToggleFile, AnotherFileIsRefusedBeforeItsOwnerMatters) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string first = directory.write("first.json", documentWith(kOn));
        const std::string second = directory.write("second.json", documentWith(kOn));
        const LibrarySession session;
        registerPlainFile("one", first);
        registerPlainFile("two", second);
        observer.expectError<std::domain_error>(otherFileText(second),
                                                [&] { registerPlainFile("two", first); });
        observer.expectError<std::domain_error>(otherFileText(first),
                                                [&] { registerPlainFile("one", second); });
    });
}

TEST(RegisterToggleFile, FileOfAnotherTokenIsRefusedAndTheTokenIsKnownWithoutAFile) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.write("file.json", documentWith(kOn));
        const LibrarySession session;
        registerPlainFile("first", file);

        for (int attempt = 0; attempt < 2; ++attempt) {
            observer.expectError<std::domain_error>(ownedFileText("second"),
                                                    [&] { registerPlainFile("second", file); });
            EXPECT_TRUE(KLB_IsToggleFileRegistered("second"));
        }

        EXPECT_FALSE(registeredValue("/a", false, "second"));
        EXPECT_TRUE(registeredValue("/b", false, "first"));
        expectPath(observer, "first", file);
        expectNoPath(observer, "second");
    });
}

TEST(RegisterToggleFile, ATokenWithoutAFileMayBeGivenOneLater) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string taken = directory.write("taken.json", documentWith(kOff));
        const std::string own = directory.write("own.json", documentWith(kOn));
        const LibrarySession session;
        registerPlainFile("first", taken);
        observer.expectError<std::domain_error>(ownedFileText("second"),
                                                [&] { registerPlainFile("second", taken); });
        EXPECT_FALSE(registeredValue("/a", false, "second"));

        // The type of the refused call is the token's; a later one is not looked at.
        observer.expectSilence([&] { KLB_RegisterToggleFile(typeOf(3), "second", own.c_str()); });

        EXPECT_TRUE(registeredValue("/b", false, "second"));
        // What was registered before keeps the value it got then.
        EXPECT_FALSE(KLB_GetToggle("/a"));
        observer.expectSilence([] { KLB_RegisterToggle("/a", false, "second"); });
        EXPECT_FALSE(KLB_GetToggle("/a"));
        expectPath(observer, "second", own);
    });
}

TEST(RegisterToggleFile, MissingFileIsSilentForGood) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.pathOf("file.json");
        const LibrarySession session;
        observer.expectSilence([&] {
            registerPlainFile("token", file);
            EXPECT_TRUE(KLB_IsToggleFileRegistered("token"));
            EXPECT_FALSE(registeredValue("/a", false, "token"));

            directory.write("file.json", documentWith(kOn));
            registerPlainFile("token", file);
            EXPECT_FALSE(registeredValue("/b", false, "token"));
        });
        expectPath(observer, "token", file);
        observer.expectError<std::domain_error>(ownedFileText("other"),
                                                [&] { registerPlainFile("other", file); });
    });
}

TEST(RegisterToggleFile, DirectoryCountsAsMissing) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.makeDirectory("file.json");
        const LibrarySession session;
        observer.expectSilence([&] {
            registerPlainFile("token", file);
            EXPECT_FALSE(registeredValue("/a", false, "token"));
        });
        expectPath(observer, "token", file);
    });
}

TEST(RegisterToggleFile, LoadErrorsAreReportedWithFileAndOffset) {
    struct Case {
        const char* name;
        std::string bytes;
        std::string error;
        std::uint64_t offset;
    };
    const Case cases[] = {
        {"empty", "", "FileTooSmall", 0},
        {"nine bytes", R"({"a": 1 })", "FileTooSmall", 0},
        {"more text", R"({"a":true} {})", "ParseErrorDocumentRootNotSingular", 11},
        {"cut", R"({"a":true,)", "ParseErrorObjectMissName", 10},
        {"another system", documentFor("Other", kOn), "ErrorSystemIdDoesNotMatch", 0},
        {"header is a list", R"({"header":[]})", "ErrorHeaderRootMustBeObject", 0},
        {"header without system", R"({"header":{}})", "ErrorSystemIdMustBeString", 0},
    };
    inBothErrorModes([&](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session;
        for (const Case& each : cases) {
            SCOPED_TRACE(each.name);
            const std::string file = directory.write(each.name, each.bytes);
            observer.expectError<std::domain_error>(loadErrorText(each.error, file, each.offset),
                                                    [&] { registerPlainFile(each.name, file); });
        }
        const std::string ten = directory.write("ten bytes", R"({"a":true})");
        observer.expectSilence([&] { registerPlainFile("ten bytes", ten); });
        EXPECT_TRUE(registeredValue("/a", false, "ten bytes"));
    });
}

TEST(RegisterToggleFile, FailedFileStaysRegisteredWithItsError) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.write("file.json", R"({"a": 1 })");
        const LibrarySession session;
        observer.expectError<std::domain_error>(loadErrorText("FileTooSmall", file),
                                                [&] { registerPlainFile("token", file); });
        EXPECT_TRUE(KLB_IsToggleFileRegistered("token"));
        EXPECT_FALSE(registeredValue("/a", false, "token"));

        // Neither the file put right nor the same call again changes that.
        directory.write("file.json", documentWith(kOn));
        observer.expectSilence([&] { registerPlainFile("token", file); });
        EXPECT_FALSE(registeredValue("/b", false, "token"));

        expectPath(observer, "token", file);
        observer.expectError<std::domain_error>(ownedFileText("other"),
                                                [&] { registerPlainFile("other", file); });
    });
}

TEST(RegisterToggleFile, TooSmallComesBeforeTheTypeMatters) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session;
        for (const int type : {1, 2, 3, -1, 0x7FFFFFFF}) {
            SCOPED_TRACE(type);
            const std::string token = "token " + std::to_string(type);
            const std::string file = directory.write(token, "123456789");
            observer.expectError<std::domain_error>(loadErrorText("FileTooSmall", file), [&] {
                KLB_RegisterToggleFile(typeOf(type), token.c_str(), file.c_str());
            });
        }
    });
}

TEST(RegisterToggleFile, ArgumentsAreCopied) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string path = directory.write("file.json", documentWith(kOn));
        const LibrarySession session;
        std::string token = "token";
        std::string file = path;
        registerPlainFile(token.c_str(), file);
        token.assign("other");
        file.assign(file.size(), '#');
        EXPECT_TRUE(KLB_IsToggleFileRegistered("token"));
        EXPECT_FALSE(KLB_IsToggleFileRegistered("other"));
        expectPath(observer, "token", path);
    });
}

TEST(RegisterToggleFile, TokensAreBytes) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session;
        int number = 0;
        for (const std::string& token :
             {std::string(), std::string("token"), std::string("Token"), std::string("token "),
              std::string("/token\\'\"\n"), std::string("caf\xC3\xA9"), std::string("caf\xE9\xFF"),
              std::string(1000000, 't')}) {
            SCOPED_TRACE(token.substr(0, 20));
            const std::string file = directory.pathOf(std::to_string(++number));
            EXPECT_FALSE(KLB_IsToggleFileRegistered(token.c_str()));
            observer.expectSilence([&] { registerPlainFile(token.c_str(), file); });
            EXPECT_TRUE(KLB_IsToggleFileRegistered(token.c_str()));
            expectPath(observer, token, file);
            observer.expectError<std::domain_error>(ownedFileText(token + "2"), [&] {
                registerPlainFile((token + "2").c_str(), file);
            });
        }
    });
}

TEST(RegisterToggleFile, OverrideFileBelongsToTheReservedTokenFromTheFirstToggleOn) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string file = directory.write(kOverrideFile, documentWith(R"("a":true)"));
        const LibrarySession session("TestSystem", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            registerPlainFile("token", directory.pathOf("missing.json"));
            EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
            EXPECT_TRUE(registeredValue("/a", false, "token"));
            EXPECT_TRUE(KLB_IsToggleFileRegistered(kOverrideToken));
        });
        observer.expectError<std::domain_error>(ownedFileText("host"),
                                                [&] { registerPlainFile("host", file); });
    });
}

TEST(RegisterToggleFile, ReservedTokenWithoutAFileMayBeGivenTheHostsOwn) {
    ErrorObserver observer(ErrorMode::Exception);
    const TempDirectory directory;
    const std::string file = directory.write(kOverrideFile, documentWith(R"("a":false)"));
    const std::string own = directory.write("own.json", documentWith(R"("a":true)"));
    const LibrarySession session("TestSystem", true);
    const auto registerToggle = [] { KLB_RegisterToggle("/a", false, "token"); };
    observer.expectSilence([&] {
        KLB_SetOverridePath(directory.path().c_str());
        registerPlainFile("host", file);
    });
    observer.expectError<std::domain_error>(ownedFileText(kOverrideToken), registerToggle);
    observer.expectSilence([&] { registerPlainFile(kOverrideToken, own); });
    observer.expectError<std::domain_error>(otherFileText(own), registerToggle);
}

TEST(IsToggleFileRegistered, KnowsEveryTokenThatWasNamed) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session;
        observer.expectSilence([&] {
            EXPECT_FALSE(KLB_IsToggleFileRegistered("file"));
            registerPlainFile("file", directory.pathOf("missing.json"));
            EXPECT_TRUE(KLB_IsToggleFileRegistered("file"));

            EXPECT_FALSE(KLB_IsToggleFileRegistered("static"));
            KLB_RegisterToggle("/static", false, "static");
            EXPECT_TRUE(KLB_IsToggleFileRegistered("static"));

            EXPECT_FALSE(KLB_IsToggleFileRegistered("dynamic"));
            KLB_RegisterDynamicToggle("/dynamic", false, "dynamic");
            EXPECT_TRUE(KLB_IsToggleFileRegistered("dynamic"));

            // Asking creates nothing.
            EXPECT_FALSE(KLB_IsToggleFileRegistered("asked"));
            EXPECT_FALSE(KLB_IsToggleFileRegistered("asked"));
            EXPECT_FALSE(KLB_IsToggleFileRegistered(kOverrideToken));
        });
    });
}

TEST(IsToggleFileRegistered, NullTokenIsRefused) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession session;
        observer.expectError<std::invalid_argument>(
            "isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.",
            [] { EXPECT_FALSE(KLB_IsToggleFileRegistered(nullptr)); });
        observer.expectSilence([] { EXPECT_FALSE(KLB_IsToggleFileRegistered("")); });
    });
}

} // namespace
} // namespace klb::test
