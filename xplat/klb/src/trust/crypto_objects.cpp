#include "trust/crypto_objects.h"

#include <openssl/err.h>
#include <openssl/x509.h>

namespace klb {

void CryptoStreamDeleter::operator()(bio_st* stream) const noexcept {
    BIO_free(stream);
}

void CertificateDeleter::operator()(x509_st* certificate) const noexcept {
    X509_free(certificate);
}

CryptoStreamPtr openBytes(const std::vector<char>& bytes) noexcept {
    return CryptoStreamPtr(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

ErrorQueueScope::ErrorQueueScope() noexcept {
    ERR_set_mark();
}

ErrorQueueScope::~ErrorQueueScope() {
    ERR_pop_to_mark();
}

} // namespace klb
