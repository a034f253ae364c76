#ifndef KLB_TESTS_SEQUENCE_DECODE_H
#define KLB_TESTS_SEQUENCE_DECODE_H

#include "call.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace klb::test {

inline constexpr std::size_t kLongestSequence = 1000;

/// So many bytes that a sequence becomes as long as it may be.
inline constexpr std::size_t kBytesPerSequence = 32 * kLongestSequence;

/// The calls of a host that these bytes stand for: any bytes stand for some. The sequence ends with
/// the bytes, or when it is as long as it may be.
std::vector<Call> decodeCalls(std::span<const std::uint8_t> bytes);

} // namespace klb::test

#endif
