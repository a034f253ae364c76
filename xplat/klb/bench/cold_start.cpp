// Loads a library that this process has not seen yet, initialises it and prints how many seconds
// that took. The process holds the C++ library already, as most hosts do.
#include "loaded_library.h"
#include "seconds.h"

#include "klb.h"

#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

namespace {

using klb::test::LoadedLibrary;

// As openssl/crypto.h has them.
constexpr std::uint64_t kAddAllCiphers = 0x4;
constexpr std::uint64_t kAddAllDigests = 0x8;

/// The initialisation that OpenSSL_add_all_algorithms() stands for.
void initializeCrypto(const LoadedLibrary& library) {
    constexpr const char* kName = "OPENSSL_init_crypto";
    library.function<int(std::uint64_t, const void*)>({kName, kName})(
        kAddAllCiphers | kAddAllDigests, nullptr);
}

void initializeKlb(const LoadedLibrary& library) {
    library.function<decltype(KLB_Init)>({"_Z8KLB_InitPKcb", "?KLB_Init@@YAXPEBD_N@Z"})(
        "BenchSystem", false);
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 3) {
            std::cerr << "usage: klb_bench_cold_start klb|crypto LIBRARY\n";
            return 2;
        }
        const bool isKlb = std::string(argv[1]) == "klb";
        std::optional<LoadedLibrary> library;
        const double seconds = klb::bench::secondsOf([&] {
            library.emplace(argv[2]);
            (isKlb ? initializeKlb : initializeCrypto)(*library);
        });
        std::cout << std::scientific << seconds << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "klb_bench_cold_start: " << error.what() << '\n';
        return 1;
    }
}
