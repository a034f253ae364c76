#include "seconds.h"

#include <cstddef>
#include <vector>

#if !defined(_WIN32)
#include <sys/resource.h>
#include <time.h>
#endif

namespace klb::bench {

namespace {

#if defined(_WIN32)

// Windows counts a thread's processor time in steps of many milliseconds, and no switches.
long countSwitches() {
    return 0;
}

double processorSeconds() {
    return 0;
}

#else

/// How often the system took the processor away from this thread.
long countSwitches() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw;
}

/// How long this thread has had a processor.
double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

#endif

} // namespace

Stopwatch::Stopwatch()
    : switches_(countSwitches()), processorSeconds_(processorSeconds()), started_(Clock::now()) {}

double Stopwatch::seconds() const {
    const std::chrono::duration<double> passed = Clock::now() - started_;
    const double hadProcessor = processorSeconds() - processorSeconds_;
    return countSwitches() == switches_ ? passed.count() : hadProcessor;
}

void settleHeap() {
    // Large enough to make the GNU allocator merge free blocks, too small for a mapping of its own.
    constexpr std::size_t kLargeBlock = 100'000;
    std::vector<char> block(kLargeBlock);
    // Else the compiler may leave the block out.
    *static_cast<volatile char*>(block.data()) = 1;
}

} // namespace klb::bench
