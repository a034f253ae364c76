#include "reports/default_toggle_report.h"

#include "cpu_time.h"
#include "registry/toggle_files.h"
#include "registry/toggles.h"
#include "support/failing_allocation.h"
#include "support/fake_platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace klb {
namespace {

class BuildDefaultToggleJson : public testing::Test {
protected:
    BuildDefaultToggleJson() {
        registry.platform = &platform.services();
        platform.files["C:\\core.json"].bytes = R"({"features":{}})";
        registerToggleFile(registry, KLB_ToggleFileType_Supported, "core", "C:\\core.json");
    }

    void add(const std::string& key) {
        registerToggle(registry, key.c_str(), false, "core", false);
    }

    std::uint64_t build() {
        return buildDefaultToggleJson(registry, report, "module", "1.0", nullptr, 0);
    }
    std::uint64_t build(std::string& buffer) {
        return buildDefaultToggleJson(registry, report, "module", "1.0", buffer.data(),
                                      buffer.size());
    }

    test::FakePlatform platform;
    Registry registry;
    JsonDocument report;
};

TEST_F(BuildDefaultToggleJson, AddsWhatTheDocumentHoldsToThePool) {
    for (int i = 0; i < 1000; ++i) {
        add("/group" + std::to_string(i % 10) + "/a long name of a feature " + std::to_string(i));
    }
    addToggleComment(registry, "/group1/a long name of a feature 1",
                     "a comment that is long enough to need memory");
    std::size_t before = 0;
    for (int call = 0; call < 3; ++call) {
        build();
        const std::size_t grown = report.GetAllocator().Size() - before;
        before += grown;
        JsonDocument copy;
        copy.CopyFrom(report, copy.GetAllocator());
        EXPECT_EQ(grown, copy.GetAllocator().Size());
    }
    // Everything is in use: the pool takes memory by chunks and gives none back.
    EXPECT_LT(report.GetAllocator().Capacity() - before, 3U * 64 * 1024);
}

std::string prettyText(const JsonDocument& document) {
    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
    document.Accept(writer);
    return text.GetString();
}

TEST_F(BuildDefaultToggleJson, IsWrittenAsRapidJsonDoes) {
    add("/group/a");
    add("/group/a/b/c");
    add("/\xC3\xA9\xFF </a>/\x7F");
    addToggleComment(registry, "/group/a", "quotes \" \\ / \b\f\n\r\t \x01 \x1F");
    std::string text(static_cast<std::size_t>(build()), '#');
    build(text);
    EXPECT_EQ(text, prettyText(report) + '\0');

    Registry empty;
    std::string ofEmpty(3, '#');
    EXPECT_EQ(buildDefaultToggleJson(empty, report, nullptr, nullptr, ofEmpty.data(), 3), 3U);
    EXPECT_EQ(ofEmpty, prettyText(report) + '\0');
}

TEST_F(BuildDefaultToggleJson, TakesATextOfAnySize) {
    // RapidJSON reserves six times the length and two, in 32 bits, which would be a few bytes here.
    const std::string name((std::size_t{1} << 32) / 6 + 1, 'x');
    const auto sizeWith = [&](const std::string& moduleName) {
        return buildDefaultToggleJson(registry, report, moduleName.c_str(), "1.0", nullptr, 0);
    };
    const std::uint64_t sizeWithout = sizeWith("");
    EXPECT_EQ(sizeWith(name), sizeWithout + name.size());
}

TEST_F(BuildDefaultToggleJson, SurvivesEveryFailedAllocation) {
    add("/group/a");
    add("/group/a/b");
    addToggleComment(registry, "/group/a", std::string(1000, 'x').c_str());
    std::string text(static_cast<std::size_t>(build()), '#');
    const std::string untouched = text;
    build(text);
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        report = JsonDocument();
        std::string buffer = untouched;
        bool happened = false;
        {
            const test::FailingAllocation failure(n);
            try {
                build(buffer);
            } catch (const std::bad_alloc&) {
            }
            happened = failure.happened();
        }
        // The host's buffer has the whole text or none of it.
        EXPECT_EQ(buffer, happened ? untouched : text);
        EXPECT_EQ(build(buffer), text.size());
        EXPECT_EQ(buffer, text);
        if (!happened) {
            EXPECT_GT(n, 10U);
            break;
        }
    }
}

double cpuSecondsOf(const std::function<void()>& work) {
    const double start = test::cpuSeconds();
    work();
    return test::cpuSeconds() - start;
}

class ReportOfManyToggles : public BuildDefaultToggleJson {
protected:
    static constexpr int kToggles = 100'000;

    /// The measure is RapidJSON's own writing of the finished document.
    void expectCheapCalls() {
        constexpr int kRounds = 5;
        double call = std::numeric_limits<double>::infinity();
        double nextCall = std::numeric_limits<double>::infinity();
        double writing = std::numeric_limits<double>::infinity();
        // A busy machine makes CPU time longer and never shorter: the least counts, and one round
        // is enough as a rule.
        for (int round = 0; round < kRounds; ++round) {
            std::uint64_t size = 0;
            call = std::min(call, cpuSecondsOf([&] { size = build(); }));
            nextCall = std::min(nextCall, cpuSecondsOf([&] { size = build(); }));
            writing = std::min(writing, cpuSecondsOf([&] {
                                   rapidjson::StringBuffer text;
                                   rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
                                   report.Accept(writer);
                                   EXPECT_EQ(text.GetSize() + 1, size);
                               }));
            if (call <= 3 * writing && nextCall <= 1.2 * call) {
                return;
            }
        }
        ADD_FAILURE() << "a call took " << call << " s, the next one " << nextCall
                      << " s, the writing alone " << writing << " s";
    }
};

TEST_F(ReportOfManyToggles, InOneGroupCostsAtMostThriceItsWriting) {
    for (int i = 0; i < kToggles; ++i) {
        add("/group/feature" + std::to_string(i));
    }
    expectCheapCalls();
}

TEST_F(ReportOfManyToggles, InAThousandGroupsCostsAtMostThriceItsWriting) {
    for (int i = 0; i < kToggles; ++i) {
        add("/group" + std::to_string(i % 1000) + "/feature" + std::to_string(i));
    }
    expectCheapCalls();
}

TEST_F(ReportOfManyToggles, InChainsCostsAtMostThriceItsWriting) {
    constexpr int kLevels = 200;
    for (int chain = 0; chain < kToggles / kLevels; ++chain) {
        std::string key;
        for (int level = 0; level < kLevels; ++level) {
            key += "/c" + std::to_string(chain);
            add(key);
        }
    }
    expectCheapCalls();
}

} // namespace
} // namespace klb
