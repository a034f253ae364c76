#ifndef KLB_CORE_SPINNING_MUTEX_H
#define KLB_CORE_SPINNING_MUTEX_H

#include <mutex>

#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#endif

namespace klb {

/// A mutex that a waiting thread tries again a few times, for some microseconds at most, before it
/// sleeps: falling asleep and waking up takes longer than most calls hold the library lock.
class SpinningMutex {
public:
    void lock() {
        if (!mutex_.try_lock()) {
            wait();
        }
    }
    bool try_lock() {
        return mutex_.try_lock();
    }
    void unlock() {
        mutex_.unlock();
    }

private:
    void wait() {
        // Each try takes the cache line from the thread that holds the lock: so the pauses grow.
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

    static void pause() noexcept {
#if defined(__x86_64__) || defined(_M_X64)
        _mm_pause();
#endif
    }

    std::mutex mutex_;
};

} // namespace klb

#endif
