#include "device_identifier.h"
#include "error_mode.h"
#include "library_session.h"
#include "report_helpers.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <string>

namespace klb::test {

namespace {

constexpr char kUntouched = '\x5A';
constexpr std::size_t kGuard = 16;
constexpr unsigned long long kHuge = std::numeric_limits<unsigned long long>::max();

/// The report fills a buffer of that many bytes, said to have stated bytes, with exactly these
/// bytes from its start, and touches nothing else in it or around it.
void expectWritten(const Report& report, std::size_t size, unsigned long long stated,
                   const std::string& written, unsigned long long result) {
    std::string memory(kGuard + size + kGuard, kUntouched);
    std::string expected = memory;
    expected.replace(kGuard, written.size(), written);
    EXPECT_EQ(report(memory.data() + kGuard, stated), result);
    EXPECT_EQ(memory, expected);
}

/// The report is this text, which is not empty, whatever the buffer.
void expectBufferConvention(const Report& report, const std::string& text) {
    const std::string whole = text + '\0';
    const std::size_t needed = whole.size();
    for (const unsigned long long size : {0ULL, 1ULL, 5ULL, needed - 1ULL, needed + 0ULL, kHuge}) {
        SCOPED_TRACE("null buffer, size " + std::to_string(size));
        EXPECT_EQ(report(nullptr, size), needed);
    }
    for (std::size_t size = 0; size <= needed + 2; ++size) {
        SCOPED_TRACE("size " + std::to_string(size));
        std::string written;
        if (size >= needed) {
            written = whole;
        } else if (size > 0) {
            written = text.substr(0, size - 1) + '\0';
        }
        expectWritten(report, size, size, written, std::min(size, needed));
    }
    for (const unsigned long long stated :
         {0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL, 0x100000000ULL,
          static_cast<unsigned long long>(std::numeric_limits<long long>::max()), kHuge}) {
        SCOPED_TRACE("said to have " + std::to_string(stated));
        expectWritten(report, needed, stated, whole, needed);
    }
}

/// The report is empty and touches no buffer.
void expectNothing(const Report& report) {
    for (const unsigned long long stated : {0ULL, 1ULL, 2ULL, 64ULL, kHuge}) {
        SCOPED_TRACE("size " + std::to_string(stated));
        EXPECT_EQ(report(nullptr, stated), 0U);
        expectWritten(report, 64, stated, "", 0);
    }
}

const std::array<Report, 3> kAllReports = {
    defaultToggleJsonReport(nullptr, nullptr),
    defaultToggleJsonReport("Player", "1.2"),
    &KLB_GetOverrideInfoString,
};

TEST(ReportBuffer, DefaultToggleJsonOfNothingFillsIt) {
    const LibrarySession library;
    expectBufferConvention(defaultToggleJsonReport(nullptr, nullptr), "{}");
}

TEST(ReportBuffer, DefaultToggleJsonFillsIt) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        KLB_RegisterToggle("/caf\xC3\xA9", true, "core");
        observer.expectSilence([] {
            expectBufferConvention(defaultToggleJsonReport("\xF0\x9F\x94\x91", nullptr),
                                   "{\n"
                                   "    \"KLB_ModuleName\": \"\xF0\x9F\x94\x91\",\n"
                                   "    \"KLB_ToggleFiles\": {},\n"
                                   "    \"KLB_Toggles\": {\n"
                                   "        \"caf\xC3\xA9\": {\n"
                                   "            \"KLB_DefaultValue\": true,\n"
                                   "            \"KLB_IsDynamic\": false,\n"
                                   "            \"KLB_ToggleFileToken\": \"core\"\n"
                                   "        }\n"
                                   "    }\n"
                                   "}");
        });
    });
}

TEST(ReportBuffer, OverrideInfoFillsIt) {
    const TempDirectory directory;
    const std::string path =
        directory.write("core.json", featuresFile("\"caf\xC3\xA9\":true,\"b\":false"));
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        registerPlainFile("core", path);
        KLB_RegisterToggle("/b", true, "core");
        KLB_RegisterToggle("/caf\xC3\xA9", false, "core");
        observer.expectSilence([&] {
            expectBufferConvention(&KLB_GetOverrideInfoString,
                                   "core : " + path + "\n/b : false\n/caf\xC3\xA9 : true\n");
        });
    });
}

TEST(ReportBuffer, DeviceLineAloneFillsIt) {
    if (deviceIdentifier().empty()) {
        GTEST_SKIP() << "this computer has no identity";
    }
    const LibrarySession library("");
    expectBufferConvention(&KLB_GetOverrideInfoString, "DeviceID : " + deviceIdentifier() + "\n");
    expectWritten(&KLB_GetOverrideInfoString, 5, 5, std::string("Devi\0", 5), 5);
}

TEST(ReportBuffer, ShortOneTakesTheFirstBytes) {
    const TempDirectory directory;
    const std::string path = directory.write("core.json", featuresFile(R"("a":true)"));
    const LibrarySession library;
    registerPlainFile("core", path);
    KLB_RegisterToggle("/a", false, "core");
    expectWritten(&KLB_GetOverrideInfoString, 5, 5, std::string("core\0", 5), 5);
    expectWritten(&KLB_GetOverrideInfoString, 1, 1, std::string(1, '\0'), 1);
    const Report json = defaultToggleJsonReport("Player", nullptr);
    expectWritten(json, 9, 9, std::string("{\n    \"K\0", 9), 9);
    expectWritten(json, 1, 1, std::string(1, '\0'), 1);
}

TEST(ReportBuffer, EmptyOverrideInfoLeavesIt) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([] {
            expectNothing(&KLB_GetOverrideInfoString);
            KLB_RegisterToggle("/a", true, "core");
            expectNothing(&KLB_GetOverrideInfoString);
        });
    });
}

TEST(ReportBuffer, IsLeftBeforeInitAndAfterTerm) {
    const TempDirectory directory;
    const std::string path = directory.write("core.json", featuresFile(R"("a":true)"));
    inBothErrorModes([&](ErrorObserver& observer) {
        for (int session = 0; session < 2; ++session) {
            for (const Report& report : kAllReports) {
                observer.expectSilence([&] { expectNothing(report); });
            }
            EXPECT_FALSE(KLB_IsInitialized());
            const LibrarySession library;
            registerPlainFile("core", path);
            KLB_RegisterToggle("/a", false, "core");
            for (const Report& report : kAllReports) {
                EXPECT_GT(report(nullptr, 0), 1U);
            }
        }
    });
}

} // namespace

} // namespace klb::test
