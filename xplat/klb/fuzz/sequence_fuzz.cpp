// A host's calls, decoded from the bytes: the library has the outcomes of its model.
#include "check.h"
#include "crypto_surroundings.h"
#include "decode.h"
#include "sequence.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    klb::fuzz::isolateCryptoLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace klb::test;
    const std::vector<Call> calls = decodeCalls({bytes, size});
    if (const std::optional<Difference> difference = runSequence(calls)) {
        const std::vector<Call> fewer = shortened(calls);
        const std::optional<Difference> rest = runSequence(fewer);
        const std::string text = rest ? described(fewer, *rest) : described(calls, *difference);
        std::fprintf(stderr, "%s", text.c_str());
        klb::fuzz::check(false, "the library has the outcomes of its model");
    }
    // The component framework's own checks are GoogleTest's.
    klb::fuzz::check(!testing::Test::HasFailure(), "the library keeps the framework's rules");
    return 0;
}
