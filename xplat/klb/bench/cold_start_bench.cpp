#include "child_process.h"
#include "measure.h"
#include "rows.h"

#include <string>

namespace klb::bench {

namespace {

/// Seconds to load and initialise a library in a process of its own.
double timeColdStart(const std::string& name, const std::string& library) {
    return std::stod(outputOf(KLB_COLD_START_PROGRAM, {name, library}));
}

void compareWithCrypto(benchmark::State& state) {
    measurePairs(
        state, [] { return timeColdStart("klb", KLB_LIBRARY_PATH); },
        [] { return timeColdStart("crypto", KLB_CRYPTO_LIBRARY_PATH); });
}

} // namespace

void addColdStartRows() {
    addRow("load the library and KLB_Init", floors::kCryptoStart, kNoToggles, Pairs::kMany,
           &compareWithCrypto);
}

} // namespace klb::bench
