#include "library_session.h"
#include "limit_helpers.h"
#include "limit_row.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace klb::test {

namespace {

constexpr const char* kNoLongerFile = "`UnableToReadFile`: no file is longer";

TEST(Limits, DocumentSize) {
    LimitRow row("bytes of a file", {kLargestFile, 2'000'000});
    if (!row.fits(4 * kGiB, 2 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const std::string begin = R"({"a":true,)";
    const std::string end = R"("z":true})";
    const TempDirectory directory;
    const std::string path = FileWriter(directory, "toggles.json")
                                 .add(begin)
                                 .add(' ', row.size() - begin.size() - end.size())
                                 .add(end)
                                 .finish();
    {
        const LibrarySession library;
        row.timed([&] { registerPlainFile("core", path); });
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        EXPECT_TRUE(registeredValue("/z", false, "core"));
    }
    expectFileTooLarge(path);
    row.beyond(kNoLongerFile);
}

TEST(Limits, MemberName) {
    const std::string begin = R"({"a":true,")";
    const std::string end = R"(":true})";
    LimitRow row("bytes of a member's name", {kLargestFile - begin.size() - end.size(), 1'000'000});
    if (!row.fits(11 * kGiB, 2 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path =
        FileWriter(directory, "toggles.json").add(begin).add('n', row.size()).add(end).finish();
    {
        const LibrarySession library;
        row.timed([&] { registerPlainFile("core", path); });
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        std::string key(row.size() + 1, 'n');
        key.front() = '/';
        row.timed([&] { EXPECT_TRUE(registeredValue(key, false, "core")); });
    }
    expectFileTooLarge(path);
    row.beyond(kNoLongerFile);
}

TEST(Limits, Members) {
    LimitRow row("members of an object", {20'000'000, 100'000});
    if (!row.fits(8 * kGiB, kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    FileWriter file(directory, "toggles.json");
    file.add("{");
    addMembers(file, row.size());
    const std::string path = file.add("}").finish();
    const LibrarySession library;
    row.timed([&] { registerPlainFile("core", path); });
    NumberedText key("/t");
    for (const std::uint64_t number :
         {std::uint64_t{0}, std::uint64_t{1}, row.size() / 2, row.size() - 2, row.size() - 1}) {
        SCOPED_TRACE(number);
        key.set(number);
        row.timed(
            [&] { EXPECT_EQ(registeredValue(key.text(), !isOn(number), "core"), isOn(number)); });
    }
    key.set(row.size());
    EXPECT_TRUE(registeredValue(key.text(), true, "core"));
}

TEST(Limits, Nesting) {
    LimitRow row("levels of arrays in a file", {50'000'000, 100'000});
    if (!row.fits(6 * kGiB, kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path = FileWriter(directory, "toggles.json")
                                 .add(R"({"a":true,"deep":)")
                                 .add('[', row.size())
                                 .add(']', row.size())
                                 .add(R"(,"z":true})")
                                 .finish();
    const LibrarySession library;
    row.timed([&] { registerPlainFile("core", path); });
    EXPECT_TRUE(registeredValue("/a", false, "core"));
    EXPECT_FALSE(registeredValue("/deep", false, "core"));
    EXPECT_TRUE(registeredValue("/z", false, "core"));
    row.timed([&] { KLB_Term(); });
}

TEST(Limits, Decimals) {
    const std::string begin = R"({"a":true,"n":0.)";
    // Too large to be counted with the decimals in 32 bits.
    const std::string small = "1e-2147483639}";
    const std::string large = "1e+2147483648}";
    LimitRow row("decimals of a number", {kLargestFile - begin.size() - small.size(), 1'000'000});
    if (!row.fits(3 * kGiB, 4 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const auto write = [&](const std::string& name, const std::string& end) {
        return FileWriter(directory, name).add(begin).add('0', row.size()).add(end).finish();
    };
    {
        const LibrarySession library;
        const std::string path = write("small.json", small);
        row.timed([&] { registerPlainFile("core", path); });
        EXPECT_TRUE(registeredValue("/a", false, "core"));
    }
    const std::string path = write("large.json", large);
    const std::uint64_t offset = begin.size() - std::string_view("0.").size();
    inBothErrorModes([&](ErrorObserver& observer) {
        KLB_Init("TestSystem", false);
        observer.expectError<std::domain_error>(
            loadErrorText("ParseErrorNumberTooBig", path, offset),
            [&] { registerPlainFile("core", path); });
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        KLB_Term();
    });
    row.beyond(kNoLongerFile);
}

} // namespace

} // namespace klb::test
