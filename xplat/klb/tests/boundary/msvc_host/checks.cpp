#include "checks.h"

#include "system.h"

#include <klb.h>

namespace host {

namespace {

Checks allChecks;
Text messages;

int record(KLB_MessageType type, const char* text) {
    messages.append(static_cast<unsigned>(type)).append(" ").append(text).append("\n");
    return -1;
}

void printPlace(const char* file, int line) {
    print(Text(file).append(":").append(static_cast<unsigned>(line)).append(": ").get());
}

} // namespace

Checks& checks() {
    return allChecks;
}

void check(bool holds, const char* what, const char* file, int line) {
    ++allChecks.made;
    if (!holds) {
        ++allChecks.failed;
        printPlace(file, line);
        print(Text(what).append(" does not hold\n").get());
    }
}

void checkText(const char* actual, const char* expected, const char* file, int line) {
    ++allChecks.made;
    if (!equal(actual, expected)) {
        ++allChecks.failed;
        printPlace(file, line);
        print("expected:\n");
        print(expected);
        print("\nactual:\n");
        print(actual);
        print("\n");
    }
}

void recordMessages() {
    messages.clear();
    KLB_InitMessageProc(&record);
}

Text takeMessages() {
    const Text taken = messages;
    messages.clear();
    return taken;
}

} // namespace host
