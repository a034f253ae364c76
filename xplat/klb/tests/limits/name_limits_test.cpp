#include "library_session.h"
#include "limit_helpers.h"
#include "limit_row.h"
#include "report_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

/// There is no memory for the report of a text whose length needs more than 32 bits, in either
/// error mode, and the buffer stays as it is; the report of a shortened one has the text.
void checkReport(std::uint64_t size) {
    if (!LimitRow::isWhole()) {
        EXPECT_GT(KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0), size);
        return;
    }
    inBothErrorModes([](ErrorObserver& observer) {
        std::string buffer = "untouched";
        observer.expectAlwaysThrows<std::bad_alloc>("std::bad_alloc", [&] {
            KLB_GetDefaultToggleJson(nullptr, nullptr, buffer.data(), buffer.size());
        });
        EXPECT_EQ(buffer, "untouched");
    });
}

constexpr const char* kNoReport = "no limit met; the default toggle report throws `std::bad_alloc`";

TEST(Limits, KeyLength) {
    LimitRow row("bytes of a key", {kBeyond32Bits, 1'000'001});
    if (!row.fits(10 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    std::string key(row.size(), 'k');
    key.front() = '/';
    const LibrarySession library;
    row.timed([&] {
        KLB_RegisterToggle(key.c_str(), true, "core");
        EXPECT_TRUE(KLB_GetToggle(key.c_str()));
        key.back() = 'x';
        EXPECT_FALSE(KLB_IsToggleRegistered(key.c_str()));
        key.pop_back();
        EXPECT_FALSE(KLB_IsToggleRegistered(key.c_str()));
    });
    // What is left when the length is cut to 32 bits.
    EXPECT_FALSE(KLB_IsToggleRegistered("/"));
    std::string().swap(key);
    checkReport(row.size());
    row.beyond(kNoReport);
}

TEST(Limits, KeyInMessages) {
    LimitRow row("bytes of a key in a message", {kGiB, 1'000'001});
    if (!row.fits(9 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    std::string key(row.size(), 'k');
    key.front() = '/';
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectMessages(
            {warning("getToggle: key, " + key + ", was not registered. Returning false.")},
            [&] { EXPECT_FALSE(row.timed([&] { return KLB_GetToggle(key.c_str()); })); });
        KLB_RegisterToggle(key.c_str(), true, "core");
        observer.expectError<std::domain_error>(
            "registerToggle: " + key + " already registred in ",
            [&] { row.timed([&] { KLB_RegisterToggle(key.c_str(), true, "other"); }); });
    });
}

TEST(Limits, KeySegments) {
    LimitRow row("segments of a key, and levels of objects in its file", {10'000'000, 100'000});
    if (!row.fits(4 * kGiB, kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path = FileWriter(directory, "toggles.json")
                                 .add(R"({"x":)", row.size())
                                 .add("true")
                                 .add('}', row.size())
                                 .finish();
    std::string key;
    for (std::uint64_t i = 0; i < row.size(); ++i) {
        key += "/x";
    }
    const LibrarySession library;
    row.timed([&] {
        registerPlainFile("core", path);
        EXPECT_TRUE(registeredValue(key, false, "core"));
        EXPECT_FALSE(registeredValue(key + "/x", false, "core"));
        EXPECT_FALSE(registeredValue(key.substr(2), false, "core"));
    });
    row.beyond("no limit met");
}

TEST(Limits, TokenLength) {
    LimitRow row("bytes of a token", {kBeyond32Bits, 1'000'001});
    if (!row.fits(10 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", R"({"a":true})");
    std::string token(row.size(), 't');
    const LibrarySession library;
    row.timed([&] {
        registerPlainFile(token.c_str(), path);
        EXPECT_TRUE(KLB_IsToggleFileRegistered(token.c_str()));
        EXPECT_TRUE(registeredValue("/a", false, token.c_str()));
        token.back() = 'x';
        EXPECT_FALSE(KLB_IsToggleFileRegistered(token.c_str()));
        token.pop_back();
        EXPECT_FALSE(KLB_IsToggleFileRegistered(token.c_str()));
    });
    // What is left when the length is cut to 32 bits.
    EXPECT_FALSE(KLB_IsToggleFileRegistered("t"));
    std::string().swap(token);
    checkReport(row.size());
    row.beyond(kNoReport);
}

TEST(Limits, CommentLength) {
    LimitRow row("bytes of a comment", {kBeyond32Bits, 1'000'001});
    if (!row.fits(10 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const LibrarySession library;
    KLB_RegisterToggle("/a", true, "core");
    {
        const std::string comment(row.size(), 'c');
        row.timed([&] { KLB_AddToggleComment("/a", comment.c_str()); });
    }
    EXPECT_TRUE(KLB_GetToggle("/a"));
    checkReport(row.size());
    row.beyond(kNoReport);
}

TEST(Limits, SystemIdentifier) {
    const std::string begin = R"({"header":{"systemId":")";
    const std::string end = R"("},"a":true})";
    LimitRow row("bytes of the system identifier in a file's header",
                 {kLargestFile - begin.size() - end.size(), 1'000'000});
    if (!row.fits(10 * kGiB, 2 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path =
        FileWriter(directory, "toggles.json").add(begin).add('i', row.size()).add(end).finish();
    {
        std::string id(row.size(), 'i');
        row.timed([&] { KLB_Init(id.c_str(), false); });
    }
    row.timed([&] {
        registerPlainFile("core", path);
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        KLB_Term();
    });
    inBothErrorModes([&](ErrorObserver& observer) {
        if (!LimitRow::isWhole()) {
            const std::string longer(row.size() + 1, 'i');
            const LibrarySession library(longer.c_str());
            observer.expectError<std::domain_error>(
                loadErrorText("ErrorSystemIdDoesNotMatch", path),
                [&] { registerPlainFile("core", path); });
        }
    });
    expectFileTooLarge(path);
    row.beyond("`UnableToReadFile`: no file is longer");
}

#if defined(_WIN32)
constexpr std::size_t kLongestPath = 259;
#else
constexpr std::size_t kLongestPath = 4095;
#endif

TEST(Limits, PathLength) {
    LimitRow row("bytes of a file's path", {kLongestPath, kLongestPath});
    const TempDirectory directory;
    constexpr std::size_t kNameSize = 100;
    std::string inside;
    while (directory.path().size() + inside.size() + 2 * kNameSize < kLongestPath) {
        inside += std::string(kNameSize, 'd') + kSeparator;
    }
    const std::string parent = directory.makeDirectory(inside);
    const std::string path = parent + std::string(kLongestPath - parent.size() - 1, 'f') + "1";
    const std::string bytes = R"({"a":true,"b":true})";
    directory.write(path.substr(directory.path().size() + 1), bytes);
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            row.timed([&] { registerPlainFile("core", path); });
            EXPECT_TRUE(registeredValue("/a", false, "core"));
            registerPlainFile("longer", path + "1");
            EXPECT_FALSE(registeredValue("/b", false, "longer"));
        });
    });
    row.beyond("the system finds no such file: the toggles keep their defaults, silently");
}

} // namespace

} // namespace klb::test
