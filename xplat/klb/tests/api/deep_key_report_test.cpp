#include "error_mode.h"
#include "library_session.h"
#include "report_helpers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <stdexcept>
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

TEST(DeepKey, MakesNoReportBeyondOneGibibyte) {
    const std::string key = keyOf(20'000);
    // An exception also with a callback: there is no text for it.
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            onSmallStack([&] {
                KLB_RegisterToggle(key.c_str(), true, "core");
                std::string buffer = "untouched";
                EXPECT_THROW(KLB_GetDefaultToggleJson(nullptr, nullptr, buffer.data(), 9),
                             std::length_error);
                EXPECT_EQ(buffer, "untouched");
                EXPECT_THROW(KLB_GetDefaultToggleJson(nullptr, nullptr, nullptr, 0),
                             std::length_error);
                EXPECT_TRUE(KLB_GetToggle(key.c_str()));
            });
        });
    });
}

} // namespace

} // namespace klb::test
