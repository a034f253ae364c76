#include "klb/library_state.h"

#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#endif

namespace klb {

LibraryState processState;

namespace {

/// Lets the core's other thread run, and the cache line arrive.
void pause() noexcept {
#if defined(__x86_64__) || defined(_M_X64)
    _mm_pause();
#endif
}

} // namespace

void SpinningMutex::wait() {
    // Trying takes the cache line away from the thread that holds the lock: so ever more seldom.
    constexpr int kMostPauses = 64;
    for (int pauses = 1; pauses <= kMostPauses; pauses *= 2) {
        for (int i = 0; i < pauses; ++i) {
            pause();
        }
        if (mutex_.try_lock()) {
            return;
        }
    }
    mutex_.lock();
}

} // namespace klb
