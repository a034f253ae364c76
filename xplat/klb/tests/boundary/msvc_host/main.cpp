#include "checked_faces.h"
#include "checks.h"
#include "system.h"

/// Where the system starts the program: there is no runtime library that would call main().
extern "C" [[noreturn]] void hostMain() {
    host::checkExports();
    host::checkComponentFace();
    const host::Checks& checks = host::checks();
    host::print(host::Text()
                    .append(checks.made)
                    .append(" checks, ")
                    .append(checks.failed)
                    .append(" failed\n")
                    .get());
    host::exitProcess(checks.failed == 0 ? 0 : 1);
}
