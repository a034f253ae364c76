#include "core/name_index.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <random>

namespace klb {

namespace {

std::uint64_t drawSeed() noexcept {
    try {
        std::random_device device;
        return std::uint64_t{device()} << 32 | device();
    } catch (const std::exception&) {
        // A computer without a source of random numbers still gets its toggles.
        return static_cast<std::uint64_t>(
            std::chrono::steady_clock::now().time_since_epoch().count());
    }
}

} // namespace

std::uint64_t hashSeed() noexcept {
    // Drawing one takes longer than filling an index of a hundred names. 0 means none has been
    // drawn yet; some C++ runtimes would leak memory for a variable with a guard.
    static constinit std::atomic<std::uint64_t> kept{0};
    std::uint64_t seed = kept.load(std::memory_order_relaxed);
    if (seed == 0) {
        const std::uint64_t drawn = drawSeed() | 1;
        seed = kept.compare_exchange_strong(seed, drawn, std::memory_order_relaxed) ? drawn : seed;
    }
    return seed;
}

} // namespace klb
