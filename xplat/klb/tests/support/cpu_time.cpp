#include "cpu_time.h"

#include <system_error>

#if defined(_WIN32)
#include <windows.h>
#else
#include <cerrno>
#include <ctime>
#endif

namespace klb::test {

#if defined(_WIN32)

namespace {

double seconds(const FILETIME& time) {
    const ULARGE_INTEGER ticks{{time.dwLowDateTime, time.dwHighDateTime}};
    return static_cast<double>(ticks.QuadPart) * 1e-7;
}

} // namespace

double cpuSeconds() {
    FILETIME creation{};
    FILETIME exit{};
    FILETIME kernel{};
    FILETIME user{};
    if (!GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user)) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                "GetProcessTimes");
    }
    return seconds(kernel) + seconds(user);
}

#else

double cpuSeconds() {
    timespec used{};
    if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used) != 0) {
        throw std::system_error(errno, std::generic_category(), "clock_gettime");
    }
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

#endif

} // namespace klb::test
