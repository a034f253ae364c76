#include "core/name_hash.h"

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
    // Drawing one takes longer than filling an index of a hundred names.
    static const std::uint64_t seed = drawSeed();
    return seed;
}

} // namespace klb
