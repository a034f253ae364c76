#ifndef KLB_TESTS_SEQUENCE_RANDOM_BYTES_H
#define KLB_TESTS_SEQUENCE_RANDOM_BYTES_H

#include "decode.h"

#include <cstdint>
#include <random>
#include <vector>

namespace klb::test {

/// Enough bytes for a sequence, the same for a seed on every platform.
inline std::vector<std::uint8_t> randomBytes(std::uint64_t seed) {
    std::mt19937_64 engine(seed);
    std::vector<std::uint8_t> bytes(kBytesPerSequence);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(engine() >> 32);
    }
    return bytes;
}

} // namespace klb::test

#endif
