#include "library_session.h"
#include "limit_helpers.h"
#include "limit_row.h"
#include "report_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>

#if !defined(_WIN32)
#include <fstream>

#include <sys/resource.h>
#include <unistd.h>
#endif

namespace klb::test {

namespace {

TEST(Limits, NothingRegistered) {
    LimitRow row("nothing, from KLB_Init to KLB_Term", {1, 1});
    row.timed([] { KLB_Init("TestSystem", true); });
    EXPECT_TRUE(KLB_IsInitialized());
    row.timed([] { KLB_Term(); });
    // An empty session: what the other rows have on top of it is theirs.
    row.beyond("");
}

TEST(Limits, Toggles) {
    LimitRow row("toggles of one file, which has them in one object", {10'000'000, 20'000});
    if (!row.fits(4 * kGiB, kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    FileWriter file(directory, "toggles.json");
    file.add(R"({"features":{)");
    addMembers(file, row.size());
    const std::string path = file.add("}}").finish();
    const LibrarySession library;
    std::uint64_t wrong = 0;
    row.timed([&] {
        registerPlainFile("core", path);
        NumberedText key("/t");
        for (std::uint64_t i = 0; i < row.size(); ++i, ++key) {
            KLB_RegisterToggle(key.c_str(), false, "core");
        }
        key.set(0);
        for (std::uint64_t i = 0; i < row.size(); ++i, ++key) {
            wrong += KLB_GetToggle(key.c_str()) != isOn(i);
        }
        EXPECT_FALSE(KLB_IsToggleRegistered(key.c_str()));
    });
    EXPECT_EQ(wrong, 0U);
}

TEST(Limits, DynamicToggles) {
    LimitRow row("dynamic toggles in groups of 1,000, and in the override information",
                 {2'000'000, 20'000});
    if (!row.fits(6 * kGiB, kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    constexpr std::uint64_t kGroup = 1000;
    const TempDirectory directory;
    FileWriter file(directory, "toggles.json");
    NumberedText group("\"g");
    for (std::uint64_t i = 0; i < row.size(); i += kGroup, ++group) {
        file.add(i == 0 ? "{" : ",").add(group.text()).add("\":{");
        addMembers(file, kGroup);
        file.add("}");
    }
    const std::string path = file.add("}").finish();
    const LibrarySession library;
    const auto forEachKey = [&](auto&& call) {
        NumberedText name("/g");
        for (std::uint64_t i = 0; i < row.size(); i += kGroup, ++name) {
            NumberedText key(name.text() + "/t");
            for (std::uint64_t j = 0; j < kGroup; ++j, ++key) {
                call(key.c_str(), j);
            }
        }
    };
    std::uint64_t wrong = 0;
    std::string report;
    row.timed([&] {
        registerPlainFile("core", path);
        forEachKey(
            [&](const char* key, std::uint64_t) { KLB_RegisterDynamicToggle(key, true, "core"); });
        forEachKey([&](const char* key, std::uint64_t number) {
            wrong += KLB_GetDynamicToggle(key) != isOn(number);
            KLB_SetDynamicToggle(key, !isOn(number));
        });
        forEachKey([&](const char* key, std::uint64_t number) {
            wrong += KLB_GetDynamicToggle(key) != !isOn(number);
        });
        report = overrideInfo();
    });
    EXPECT_EQ(wrong, 0U);
    // Those that are off in the file, and were set since.
    constexpr std::uint64_t kOff = kGroup - (kGroup + 2) / 3;
    const std::string title = "core : " + path + "\n";
    const std::string first = "/g00000000/t00000001 : true\n";
    NumberedText lastGroup("/g");
    lastGroup.set(row.size() / kGroup - 1);
    const std::string last = lastGroup.text() + "/t00000998 : true\n";
    EXPECT_EQ(report.size(), title.size() + row.size() / kGroup * kOff * first.size());
    EXPECT_TRUE(report.starts_with(title + first)) << report.substr(0, 200);
    EXPECT_TRUE(report.ends_with(last)) << report.substr(report.size() - 100);
}

TEST(Limits, ToggleFiles) {
    LimitRow row("toggle files, each with a toggle", {100'000, 200});
    if (!row.fits(4 * kGiB, kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    NumberedText name("t");
    for (std::uint64_t i = 0; i < row.size(); ++i, ++name) {
        directory.write(name.text(), "{\"" + name.text() + (isOn(i) ? "\":true}" : "\":false}"));
    }
    const LibrarySession library;
    std::uint64_t wrong = 0;
    unsigned long long reportSize = 0;
    row.timed([&] {
        name.set(0);
        NumberedText key("/t");
        for (std::uint64_t i = 0; i < row.size(); ++i, ++name, ++key) {
            registerPlainFile(name.c_str(), directory.pathOf(name.text()));
            KLB_RegisterToggle(key.c_str(), false, name.c_str());
        }
        name.set(0);
        key.set(0);
        for (std::uint64_t i = 0; i < row.size(); ++i, ++name, ++key) {
            wrong += KLB_GetToggle(key.c_str()) != isOn(i);
            wrong += !KLB_IsToggleFileRegistered(name.c_str());
        }
        EXPECT_FALSE(KLB_IsToggleFileRegistered(name.c_str()));
        reportSize = KLB_GetOverrideInfoString(nullptr, 0);
    });
    EXPECT_EQ(wrong, 0U);
    const std::string first = "t00000000 : " + directory.pathOf("t00000000") + "\n";
    const std::string entry = "/t00000000 : true\n";
    EXPECT_EQ(reportSize, (row.size() + 2) / 3 * (first.size() + entry.size()) + 1);
}

TEST(Limits, Tokens) {
    LimitRow row("tokens without a file, each with a toggle", {1'000'000, 20'000});
    if (!row.fits(4 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const LibrarySession library;
    std::uint64_t wrong = 0;
    row.timed([&] {
        NumberedText token("token");
        NumberedText key("/t");
        for (std::uint64_t i = 0; i < row.size(); ++i, ++token, ++key) {
            KLB_RegisterToggle(key.c_str(), isOn(i), token.c_str());
        }
        token.set(0);
        key.set(0);
        for (std::uint64_t i = 0; i < row.size(); ++i, ++token, ++key) {
            wrong += KLB_GetToggle(key.c_str()) != isOn(i);
            wrong += !KLB_IsToggleFileRegistered(token.c_str());
        }
        EXPECT_FALSE(KLB_IsToggleFileRegistered(token.c_str()));
        EXPECT_EQ(KLB_GetOverrideInfoString(nullptr, 0), 0U);
    });
    EXPECT_EQ(wrong, 0U);
}

#if !defined(_WIN32) && !defined(KLB_SANITIZED)

/// Lets this process have only so much more address space for its lifetime.
class MemoryLimit {
public:
    explicit MemoryLimit(std::uint64_t bytes) {
        getrlimit(RLIMIT_AS, &before_);
        std::uint64_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        rlimit limit = before_;
        limit.rlim_cur = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) + bytes;
        setrlimit(RLIMIT_AS, &limit);
    }
    ~MemoryLimit() {
        setrlimit(RLIMIT_AS, &before_);
    }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

private:
    rlimit before_{};
};

TEST(Limits, Memory) {
    LimitRow row("bytes of address space, used up by toggles", {kGiB, 32 << 20});
    if (!row.fits(row.size() + kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        NumberedText key("/t");
        std::uint64_t count = 0;
        std::uint64_t wrong = 0;
        {
            const MemoryLimit limit(row.size());
            row.timed([&] {
                try {
                    for (;; ++count, ++key) {
                        KLB_RegisterToggle(key.c_str(), isOn(count), "core");
                    }
                } catch (const std::bad_alloc&) {
                    EXPECT_FALSE(KLB_IsToggleRegistered(key.c_str()));
                }
            });
        }
        EXPECT_GT(count, row.size() / 400);
        observer.expectSilence([&] {
            KLB_RegisterToggle(key.c_str(), isOn(count), "core");
            key.set(0);
            for (std::uint64_t i = 0; i <= count; ++i, ++key) {
                wrong += KLB_GetToggle(key.c_str()) != isOn(i);
            }
        });
        EXPECT_EQ(wrong, 0U);
    });
    row.beyond("`std::bad_alloc`, with or without a callback; what is registered stays, and "
               "the call succeeds once there is memory");
}

#endif

} // namespace

} // namespace klb::test
