#ifndef KLB_BENCH_SECONDS_H
#define KLB_BENCH_SECONDS_H

#include <chrono>
#include <utility>

namespace klb::bench {

/// Has the allocator do the work that earlier frees left behind, which would else be charged to
/// whoever asks for a large block next.
void settleHeap();

/// How long a piece of work takes, in seconds.
template <class Work>
double secondsOf(Work&& work) {
    settleHeap();
    const auto started = std::chrono::steady_clock::now();
    std::forward<Work>(work)();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
    return elapsed.count();
}

} // namespace klb::bench

#endif
