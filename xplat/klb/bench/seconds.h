#ifndef KLB_BENCH_SECONDS_H
#define KLB_BENCH_SECONDS_H

#include <chrono>
#include <utility>

namespace klb::bench {

/// Measures the time of the calling thread's work. It is the time that passed, but where the system
/// took the processor away meanwhile, it is the time that the thread had it: long pieces of work
/// would else lose more than short ones on a machine that does other things too.
class Stopwatch {
public:
    Stopwatch();
    double seconds() const;

private:
    using Clock = std::chrono::steady_clock;

    long switches_;
    double processorSeconds_;
    Clock::time_point started_;
};

/// Has the allocator do the work that earlier frees left behind, which would else be charged to
/// whoever asks for a large block next.
void settleHeap();

/// How long a piece of work takes, in seconds. It must not wait for other threads.
template <class Work>
double secondsOf(Work&& work) {
    settleHeap();
    const Stopwatch stopwatch;
    std::forward<Work>(work)();
    return stopwatch.seconds();
}

} // namespace klb::bench

#endif
