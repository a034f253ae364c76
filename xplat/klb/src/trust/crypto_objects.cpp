#include "trust/crypto_objects.h"

#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

namespace klb {

void CryptoStreamDeleter::operator()(bio_st* stream) const noexcept {
    BIO_free(stream);
}

void CertificateDeleter::operator()(x509_st* certificate) const noexcept {
    X509_free(certificate);
}

void SignedDataDeleter::operator()(PKCS7* data) const noexcept {
    if (PKCS7_type_is_signed(data) && data->d.sign != nullptr) {
        const PKCS7* contents = data->d.sign->contents;
        if (contents != nullptr && PKCS7_type_is_data(contents) && contents->d.data != nullptr) {
            OPENSSL_cleanse(contents->d.data->data,
                            static_cast<std::size_t>(contents->d.data->length));
        }
    }
    PKCS7_free(data);
}

CryptoStreamPtr openBytes(const std::vector<char>& bytes) noexcept {
    return CryptoStreamPtr(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

} // namespace klb
