#include "error_mode.h"
#include "library_session.h"
#include "report_helpers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <string>
#include <system_error>

#include <pthread.h>

namespace klb::test {

namespace {

void* runWork(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

/// Does the work on a thread with a stack of 256 KiB.
void onSmallStack(const std::function<void()>& work) {
    constexpr std::size_t kStackSize = 256 * 1024;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    int error = pthread_attr_setstacksize(&attributes, kStackSize);
    pthread_t thread{};
    if (error == 0) {
        error = pthread_create(&thread, &attributes, &runWork,
                               const_cast<std::function<void()>*>(&work));
    }
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_create");
    }
    pthread_join(thread, nullptr);
}

std::string indentation(int level) {
    return std::string(static_cast<std::size_t>(level) * 4, ' ');
}

std::string keyOf(int segments) {
    std::string key;
    for (int i = 0; i < segments; ++i) {
        key += "/s";
    }
    return key;
}

/// The report of one toggle with that many segments and a comment.
std::string reportOf(int segments) {
    std::string text = "{\n    \"KLB_Toggles\": {";
    int level = 2;
    for (int i = 0; i < segments; ++i, ++level) {
        text += "\n" + indentation(level) + "\"s\": {";
    }
    text += "\n" + indentation(level) + "\"KLB_DefaultValue\": true,";
    text += "\n" + indentation(level) + "\"KLB_IsDynamic\": false,";
    text += "\n" + indentation(level) + "\"KLB_ToggleFileToken\": \"core\",";
    text += "\n" + indentation(level) + "\"KLB_ToggleComment\": \"deep\"";
    for (--level; level >= 0; --level) {
        text += "\n" + indentation(level) + "}";
    }
    // The token that only the toggle named is no toggle file, but it is known.
    return text.insert(text.find("    \"KLB_Toggles\""), "    \"KLB_ToggleFiles\": {},\n");
}

TEST(DeepKey, OfTwoThousandSegmentsNeedsNoStack) {
    constexpr int kSegments = 2000;
    const std::string key = keyOf(kSegments);
    const std::string expected = reportOf(kSegments);
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            onSmallStack([&] {
                KLB_RegisterToggle(key.c_str(), true, "core");
                KLB_AddToggleComment(key.c_str(), "deep");
                EXPECT_TRUE(defaultToggleJson() == expected);
                EXPECT_EQ(KLB_GetOverrideInfoString(nullptr, 0), 0U);
            });
        });
    });
}

TEST(DeepKey, MayMakeAReportThatNoBufferTakes) {
    constexpr unsigned long long kSegments = 100'000;
    const std::string key = keyOf(static_cast<int>(kSegments));
    // Two lines for each level, indented by four spaces a level.
    const unsigned long long indentation = 4 * kSegments * (kSegments + 3);
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            onSmallStack([&] {
                KLB_RegisterToggle(key.c_str(), true, "core");
                EXPECT_GT(KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0), indentation);
                std::string buffer(9, '#');
                EXPECT_EQ(KLB_GetDefaultToggleJson(nullptr, nullptr, buffer.data(), 9), 9U);
                EXPECT_EQ(buffer, std::string("{\n    \"K\0", 9));
            });
        });
    });
}

} // namespace

} // namespace klb::test
