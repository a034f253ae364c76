#ifndef KLB_TESTS_BOUNDARY_MSVC_HOST_CHECKS_H
#define KLB_TESTS_BOUNDARY_MSVC_HOST_CHECKS_H

#include "text.h"

namespace host {

/// How many checks were made, and how many of them failed.
struct Checks {
    unsigned made = 0;
    unsigned failed = 0;
};

Checks& checks();

void check(bool holds, const char* what, const char* file, int line);
void checkText(const char* actual, const char* expected, const char* file, int line);

/// Installs the message callback and states what it has received since, as lines "<type> <text>".
void recordMessages();
Text takeMessages();

} // namespace host

#define HOST_EXPECT(condition) ::host::check((condition), #condition, __FILE__, __LINE__)
#define HOST_EXPECT_TEXT(actual, expected)                                                         \
    ::host::checkText((actual), (expected), __FILE__, __LINE__)
/// The callback has received these messages, and no others, since this was last asked.
#define HOST_EXPECT_MESSAGES(expected) HOST_EXPECT_TEXT(::host::takeMessages().get(), (expected))

#endif
