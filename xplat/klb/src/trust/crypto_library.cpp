#include "trust/crypto_library.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace klb {

void initializeCryptoLibrary() {
    OpenSSL_add_all_algorithms();
}

void cleanse(void* bytes, std::size_t size) noexcept {
    OPENSSL_cleanse(bytes, size);
}

CleanseScope::~CleanseScope() {
    cleanse(bytes_.data(), bytes_.size());
}

} // namespace klb
