#ifndef KLB_TESTS_SUPPORT_CPU_TIME_H
#define KLB_TESTS_SUPPORT_CPU_TIME_H

#include <cerrno>
#include <ctime>
#include <system_error>

namespace klb::test {

/// The CPU time that this process has used so far. std::clock() would be wall time on Windows.
inline double cpuSeconds() {
    timespec used{};
    if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used) != 0) {
        throw std::system_error(errno, std::generic_category(), "clock_gettime");
    }
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

} // namespace klb::test

#endif
