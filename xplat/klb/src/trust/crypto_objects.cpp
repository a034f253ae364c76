#include "trust/crypto_objects.h"

#include "trust/secret_bytes.h"

#include <openssl/evp.h>

namespace klb {

void initializeCryptoLibrary() {
    OpenSSL_add_all_algorithms();
}

void cleanse(void* bytes, std::size_t size) noexcept {
    OPENSSL_cleanse(bytes, size);
}

StreamPtr openText(const char* text, int size) noexcept {
    // Early releases of OpenSSL do not declare that they only read.
    return StreamPtr(BIO_new_mem_buf(const_cast<char*>(text), size));
}

} // namespace klb
