// A host of its own, run from a directory of its own: asks for one toggle that the override file
// beside this program may set, and prints its value, or the error, in one line.

#include "klb.h"

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <typeinfo>

namespace {

const char* nameOf(const std::exception& error) {
    if (typeid(error) == typeid(std::domain_error)) {
        return "domain_error";
    }
    if (typeid(error) == typeid(std::runtime_error)) {
        return "runtime_error";
    }
    return typeid(error).name();
}

} // namespace

int main() {
    try {
        KLB_Init("ProbeSystem", true);
        KLB_RegisterToggle("/probe/toggle", false, "probe");
        std::printf("%s", KLB_GetToggle("/probe/toggle") ? "true" : "false");
    } catch (const std::exception& error) {
        std::printf("%s: %s%s", nameOf(error), error.what(),
                    KLB_IsToggleRegistered("/probe/toggle") ? ", yet registered" : "");
    }
    KLB_Term();
    return 0;
}
