#include "trust/crypto_library.h"

#include "core/crypto_handles.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace klb {

void initializeCryptoLibrary() {
    OpenSSL_add_all_algorithms();
}

void CryptoStreamDeleter::operator()(bio_st* stream) const noexcept {
    BIO_free(stream);
}

void CertificateDeleter::operator()(x509_st* certificate) const noexcept {
    X509_free(certificate);
}

} // namespace klb
