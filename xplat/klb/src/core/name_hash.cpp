#include "core/name_hash.h"

#include <chrono>
#include <exception>
#include <random>

namespace klb {

std::uint64_t drawHashSeed() noexcept {
    try {
        std::random_device device;
        return std::uint64_t{device()} << 32 | device();
    } catch (const std::exception&) {
        // A computer without a source of random numbers still gets its toggles.
        return static_cast<std::uint64_t>(
            std::chrono::steady_clock::now().time_since_epoch().count());
    }
}

} // namespace klb
