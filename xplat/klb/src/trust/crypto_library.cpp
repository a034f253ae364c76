#include "trust/crypto_library.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace klb {

void initializeCryptoLibrary() {
    OpenSSL_add_all_algorithms();
}

CleanseScope::~CleanseScope() {
    OPENSSL_cleanse(bytes_.data(), bytes_.size());
}

} // namespace klb
