#ifndef KLB_FUZZ_CHECK_H
#define KLB_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

namespace klb::fuzz {

/// Ends the program when a property does not hold: the fuzzer keeps the input, and a replay fails.
inline void check(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", property);
        std::abort();
    }
}

} // namespace klb::fuzz

#endif
