#define OPENSSL_SUPPRESS_DEPRECATED

#include "trust/error_queue.h"

#include "support/failing_allocation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace klb {
namespace {

constexpr const char* kFile = "host.c";

/// Puts the host's error number `n` into the queue; every second one has a text.
void putHostError(int n) {
    ERR_put_error(ERR_LIB_USER, 0, n, kFile, n);
    if (n % 2 == 0) {
        ERR_add_error_data(2, "text ", std::to_string(n).c_str());
    }
}

/// Takes the errors out of the queue, each as one line.
std::vector<std::string> takeErrors() {
    std::vector<std::string> lines;
    const char* file = nullptr;
    int line = 0;
    const char* text = nullptr;
    int flags = 0;
    while (const unsigned long code = ERR_get_error_line_data(&file, &line, &text, &flags)) {
        lines.push_back(std::to_string(code) + " " + file + ":" + std::to_string(line) + " " +
                        ((flags & ERR_TXT_STRING) != 0 ? text : "-"));
    }
    return lines;
}

TEST(ErrorQueueScope, LeavesTheQueueAsItWasFound) {
    for (const int before : {0, 1, 2, 10, 14, 15, 16, 40}) {
        SCOPED_TRACE(before);
        ERR_clear_error();
        for (int n = 1; n <= before; ++n) {
            putHostError(n);
        }
        const std::vector<std::string> expected = takeErrors();
        for (int n = 1; n <= before; ++n) {
            putHostError(n);
        }
        {
            const ErrorQueueScope scope;
            EXPECT_EQ(ERR_peek_error(), 0U);
            for (int n = 100; n < 120; ++n) {
                putHostError(n);
            }
        }
        EXPECT_EQ(takeErrors(), expected);
    }
}

TEST(ErrorQueueScope, HoldsWhenTheQueueIsClearedMeanwhile) {
    ERR_clear_error();
    putHostError(4);
    const std::vector<std::string> expected = takeErrors();
    putHostError(4);
    {
        const ErrorQueueScope scope;
        putHostError(5);
        ERR_clear_error();
    }
    EXPECT_EQ(takeErrors(), expected);
}

TEST(ErrorQueueScope, KeepsErrorsOfTheSystem) {
    ERR_clear_error();
    ERR_put_error(ERR_LIB_SYS, 0, 2, kFile, 3);
    const unsigned long expected = ERR_peek_error();
    { const ErrorQueueScope scope; }
    EXPECT_EQ(ERR_get_error(), expected);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST(ErrorQueueScope, KeepsTheCodesWhenMemoryRunsOut) {
    for (std::size_t n = 1;; ++n) {
        ERR_clear_error();
        putHostError(2);
        putHostError(4);
        const unsigned long first = ERR_peek_error();
        const unsigned long last = ERR_peek_last_error();
        bool happened = false;
        {
            const test::FailingAllocation failure(n, test::MemorySource::Crypto);
            { const ErrorQueueScope scope; }
            happened = failure.happened();
        }
        EXPECT_EQ(ERR_get_error(), first);
        EXPECT_EQ(ERR_get_error(), last);
        EXPECT_EQ(ERR_get_error(), 0U);
        if (!happened) {
            EXPECT_GT(n, 1U);
            break;
        }
    }
}

} // namespace
} // namespace klb
