#include "cpu_time.h"
#include "error_mode.h"
#include "library_session.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

/// The CPU time of one piece of work, which is done as often as a clock with coarse ticks needs.
double cpuSecondsOf(const std::function<void()>& work) {
    constexpr double kEnough = 0.2;
    const double start = cpuSeconds();
    double used = 0;
    int times = 0;
    while (used < kEnough) {
        work();
        ++times;
        used = cpuSeconds() - start;
    }
    return used / times;
}

/// How much bigger the larger one of two compared inputs is.
constexpr int kGrowth = 4;

/// The work's time grows with the size of its input and not with the square of it: the larger
/// input takes some 4 times as long as the smaller one, and not some 16 times.
void expectLinearTime(int size, const std::function<void(int size)>& work) {
    constexpr double kLimit = 9;
    constexpr int kRounds = 3;
    double smaller = std::numeric_limits<double>::infinity();
    double larger = std::numeric_limits<double>::infinity();
    // A busy machine makes CPU time longer and never shorter: the least counts, and one round is
    // enough as a rule.
    for (int round = 0; round < kRounds; ++round) {
        smaller = std::min(smaller, cpuSecondsOf([&] { work(size); }));
        larger = std::min(larger, cpuSecondsOf([&] { work(size * kGrowth); }));
        if (larger <= kLimit * smaller) {
            return;
        }
    }
    ADD_FAILURE() << kGrowth << " times the input took " << larger / smaller
                  << " times as long: " << larger << " s and " << smaller << " s";
}

std::string repeated(const std::string& text, int times) {
    std::string result;
    result.reserve(text.size() * static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

constexpr int kDepth = 1'000'000;

TEST(DeepNesting, EntryAMillionLevelsDownIsFound) {
    const TempDirectory directory;
    const std::string document = repeated(R"({"a":)", kDepth) + "true" + repeated("}", kDepth);
    const std::string path = directory.write("toggles.json", document);
    directory.write(kOverrideFile, document);
    const std::string key = repeated("/a", kDepth);
    for (const bool inOverride : {false, true}) {
        SCOPED_TRACE(inOverride ? "override file" : "toggle file");
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library("TestSystem", inOverride);
            observer.expectSilence([&] {
                KLB_SetOverridePath(directory.path().c_str());
                registerPlainFile("core", inOverride ? directory.pathOf("missing.json") : path);
                EXPECT_TRUE(registeredValue(key, false, "core"));
                EXPECT_FALSE(registeredValue(key.substr(2), false, "core"));
                EXPECT_FALSE(registeredValue(key + "/a", false, "core"));
                EXPECT_FALSE(registeredValue("/a", false, "core"));
            });
        });
    }
}

TEST(DeepNesting, OfOtherMembersIsNoHindrance) {
    const std::string arrays = repeated("[", kDepth) + repeated("]", kDepth);
    const std::string mixed =
        repeated(R"([{"x":)", kDepth / 2) + "null" + repeated("}]", kDepth / 2);
    const TempDirectory directory;
    for (const std::string& deep : {arrays, mixed}) {
        const std::string path =
            directory.write("toggles.json", R"({"deep":)" + deep + R"(,"features":{"deep":)" +
                                                deep + R"(,"a":true}})");
        const LibrarySession library;
        registerPlainFile("core", path);
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        EXPECT_FALSE(registeredValue("/deep", false, "core"));
        EXPECT_FALSE(registeredValue("/deep/x", false, "core"));
    }
}

TEST(DeepNesting, DamageIsReportedWithItsPlace) {
    const std::string opens = repeated("[", kDepth);
    const std::string objects = repeated(R"({"a":)", kDepth);
    const struct {
        const char* name;
        std::string marked;
        const char* error;
    } cases[] = {
        {"arrays cut off", R"({"a":)" + opens + "^", "ParseErrorValueInvalid"},
        {"objects cut off", objects + "^", "ParseErrorValueInvalid"},
        {"objects cut off behind a value", objects + "true^",
         "ParseErrorObjectMissCommaOrCurlyBracket"},
        {"one square bracket missing", R"({"a":)" + opens + repeated("]", kDepth - 1) + "^}",
         "ParseErrorArrayMissCommaOrSquareBracket"},
        {"one curly bracket missing", objects + "true" + repeated("}", kDepth - 1) + "^",
         "ParseErrorObjectMissCommaOrCurlyBracket"},
        {"one curly bracket too many", objects + "true" + repeated("}", kDepth) + "^}",
         "ParseErrorDocumentRootNotSingular"},
        {"an array ended as an object", R"({"a":)" + opens + "1^}",
         "ParseErrorArrayMissCommaOrSquareBracket"},
    };
    const TempDirectory directory;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const DamagedDocument document = damagedAt(c.marked);
        const std::string path = directory.write("toggles.json", document.bytes);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectError<std::domain_error>(loadErrorText(c.error, path, document.offset),
                                                    [&] { registerPlainFile("core", path); });
            EXPECT_FALSE(registeredValue("/a", false, "core"));
        });
    }
}

constexpr int kSegments = 100'000;
static_assert(kSegments % kGrowth == 0);

/// Looks keys of that many segments up in a document that is as deep.
void useLongKeys(ErrorObserver& observer, const TempDirectory& directory, int segments) {
    const std::string path = directory.write(
        "toggles.json",
        featuresFile(R"("segment00":)" + repeated(R"({"other":1,"segment00":)", segments - 1) +
                     "true" + repeated("}", segments - 1)));
    const std::string key = repeated("/segment00", segments);
    const LibrarySession library;
    observer.expectSilence([&] {
        registerPlainFile("core", path);
        EXPECT_TRUE(registeredValue(key, false, "core"));
        for (int i = 0; i < 3; ++i) {
            SCOPED_TRACE(i);
            const std::string suffix = std::to_string(i);
            // Too deep, missing at the last level, and missing half-way.
            EXPECT_FALSE(registeredValue(key + "/" + suffix, false, "core"));
            EXPECT_FALSE(registeredValue(key + suffix, false, "core"));
            std::string halfWay = key;
            halfWay.replace(key.size() / 2, 10, "/missing" + suffix);
            EXPECT_FALSE(registeredValue(halfWay, false, "core"));
        }
        EXPECT_TRUE(KLB_GetToggle(key.c_str()));
    });
}

TEST(LongKey, OfAHundredThousandSegmentsTakesLinearTime) {
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        expectLinearTime(kSegments / kGrowth,
                         [&](int segments) { useLongKeys(observer, directory, segments); });
    });
}

TEST(LongKey, OfSlashesAloneNamesEmptyMembers) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", repeated(R"({"":)", kSegments) +
                                                                 "true" + repeated("}", kSegments));
    const std::string key(kSegments, '/');
    const LibrarySession library;
    registerPlainFile("core", path);
    EXPECT_TRUE(registeredValue(key, false, "core"));
    EXPECT_FALSE(registeredValue(key + "/", false, "core"));
    EXPECT_FALSE(registeredValue(key.substr(1), false, "core"));
    EXPECT_FALSE(registeredValue(std::string(1'000'000, '/'), false, "core"));
}

TEST(LongKey, AgainstAShallowDocumentFindsNothing) {
    const TempDirectory directory;
    const std::string longName(1'000'000, 'n');
    const std::string path = directory.write(
        "toggles.json", featuresFile(R"("a":{"b":true},"c":true,")" + longName + R"(":true)"));
    const LibrarySession library;
    registerPlainFile("core", path);
    const std::string tail = repeated("/segment00", kSegments);
    EXPECT_FALSE(registeredValue("/a" + tail, false, "core"));
    EXPECT_FALSE(registeredValue("/a/b" + tail, false, "core"));
    EXPECT_FALSE(registeredValue("/c" + tail, false, "core"));
    EXPECT_FALSE(registeredValue(tail, false, "core"));
    EXPECT_TRUE(registeredValue("/" + longName, false, "core"));
    EXPECT_FALSE(registeredValue("/" + longName + "n", false, "core"));
    EXPECT_FALSE(registeredValue("/" + longName.substr(1), false, "core"));
}

TEST(LongKey, StandsWholeInMessages) {
    const std::string key = repeated("/segment00", kSegments);
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectMessages(
            {warning("getToggle: key, " + key + ", was not registered. Returning false.")},
            [&] { EXPECT_FALSE(KLB_GetToggle(key.c_str())); });
        observer.expectSilence([&] {
            KLB_RegisterDynamicToggle(key.c_str(), false, "core");
            KLB_SetDynamicToggle(key.c_str(), true);
            EXPECT_TRUE(KLB_GetDynamicToggle(key.c_str()));
            EXPECT_FALSE(KLB_IsDynamicToggleRegistered(key.substr(10).c_str()));
        });
        observer.expectError<std::domain_error>(
            "registerToggle: " + key + " already registred in ",
            [&] { KLB_RegisterDynamicToggle(key.c_str(), false, "other"); });
    });
}

/// Registers that many toggles that the files have an entry for, in the group or, without its name,
/// at the top, and as many that they have none for.
void useManyToggles(const std::string& group, int toggles) {
    // The toggle file sets every toggle; the override file has an entry for each, of which every
    // other one counts.
    std::string file;
    std::string overrides;
    for (int i = 0; i < toggles; ++i) {
        const std::string name = (i ? ",\"t" : "\"t") + std::to_string(i) + "\":";
        file += name + "true";
        overrides += name + (i % 2 ? "false" : "null");
    }
    const auto inGroup = [&](const std::string& members) {
        return group.empty() ? members : "\"" + group + "\":{" + members + "}";
    };
    const std::string prefix = group.empty() ? "/t" : "/" + group + "/t";
    const TempDirectory directory;
    const std::string path = directory.write("toggles.json", featuresFile(inGroup(file)));
    directory.write(kOverrideFile, documentWith(inGroup(overrides)));

    const MessageRecorder ignored;
    const LibrarySession library("TestSystem", true);
    KLB_SetOverridePath(directory.path().c_str());
    registerPlainFile("core", path);
    for (int i = 0; i < toggles; ++i) {
        const std::string key = prefix + std::to_string(i);
        KLB_RegisterToggle(key.c_str(), false, "core");
        KLB_RegisterToggle((key + "x").c_str(), true, "core");
    }
    int wrong = 0;
    for (int i = 0; i < toggles; ++i) {
        const std::string key = prefix + std::to_string(i);
        wrong += KLB_GetToggle(key.c_str()) != (i % 2 == 0);
        wrong += !KLB_GetToggle((key + "x").c_str());
    }
    EXPECT_EQ(wrong, 0);
}

constexpr int kToggles = 20'000;

TEST(ManyToggles, InOneWideObjectTakeLinearTime) {
    expectLinearTime(kToggles, [](int toggles) { useManyToggles("", toggles); });
}

TEST(ManyToggles, InOneWideGroupTakeLinearTime) {
    expectLinearTime(kToggles, [](int toggles) { useManyToggles("group", toggles); });
}

TEST(InvalidUtf8, ComparesAsBytesInNamesAndKeys) {
    const std::string names[] = {"\xFF", "\xFE\xFF", "\xC0\x80",        "\xED\xA0\x80",
                                 "\xC3", "a\x80z",   "\xF4\x90\x80\x80"};
    std::string members = R"("text":"\u00e9)"
                          "\xFF\xC0"
                          R"(",)";
    for (const std::string& name : names) {
        members += "\"" + name + "\":true,";
    }
    const TempDirectory directory;
    const std::string path = directory.write(
        "toggles.json", featuresFile(members + R"("group":{)" + members + R"("":true},"a":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            registerPlainFile("core", path);
            for (const std::string& name : names) {
                SCOPED_TRACE(name);
                EXPECT_TRUE(registeredValue("/" + name, false, "core"));
                EXPECT_TRUE(registeredValue("/group/" + name, false, "core"));
            }
            EXPECT_TRUE(registeredValue("/a", false, "core"));
            EXPECT_TRUE(registeredValue("/group/", false, "core"));
            EXPECT_FALSE(registeredValue("/\xEF\xBF\xBD", false, "core"));
            EXPECT_FALSE(registeredValue("/\xFE", false, "core"));
            EXPECT_FALSE(registeredValue("/a\x80", false, "core"));
        });
    });
}

TEST(InvalidUtf8, StandsUnchangedInMessages) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectMessages(
            {warning("getToggle: key, /\xFF\xC0, was not registered. Returning false.")},
            [] { EXPECT_FALSE(KLB_GetToggle("/\xFF\xC0")); });
        KLB_RegisterToggle("/\xFF\xC0", true, "\xFF");
        observer.expectError<std::domain_error>(
            "registerToggle: /\xFF\xC0 already registred in ",
            [] { KLB_RegisterToggle("/\xFF\xC0", true, "\xFE"); });
        EXPECT_TRUE(KLB_IsToggleFileRegistered("\xFE"));
        EXPECT_FALSE(KLB_IsToggleFileRegistered("\xFD"));
        EXPECT_TRUE(KLB_GetToggle("/\xFF\xC0"));
    });
}

} // namespace

} // namespace klb::test
