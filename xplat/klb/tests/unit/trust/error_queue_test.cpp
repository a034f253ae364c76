#define OPENSSL_SUPPRESS_DEPRECATED

#include "trust/crypto_objects.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace klb {
namespace {

/// Puts the host's error number `n` into the queue; every second one has a text.
void putHostError(int n) {
    ERR_put_error(ERR_LIB_USER, 0, n, "host.c", n);
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
    for (const int before : {0, 1, 2, 10}) {
        for (const int added : {0, 1, 5}) {
            SCOPED_TRACE(std::to_string(before) + " before, " + std::to_string(added) + " added");
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
                for (int n = 0; n < added; ++n) {
                    putHostError(100 + n);
                }
            }
            EXPECT_EQ(takeErrors(), expected);
        }
    }
}

TEST(ErrorQueueScope, LeavesNothingOfItsOwnWhereTheHostsErrorsAreLost) {
    ERR_clear_error();
    putHostError(4);
    {
        const ErrorQueueScope scope;
        ERR_clear_error();
        putHostError(5);
    }
    EXPECT_EQ(takeErrors(), std::vector<std::string>());
    putHostError(4);
    {
        const ErrorQueueScope scope;
        for (int n = 0; n < 40; ++n) {
            putHostError(100 + n);
        }
    }
    EXPECT_EQ(takeErrors(), std::vector<std::string>());
}

} // namespace
} // namespace klb
