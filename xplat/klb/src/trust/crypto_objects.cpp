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

namespace {

/// The content inside a message, under any number of signatures; null when there is none.
ASN1_OCTET_STRING* contentInside(const PKCS7* message) noexcept {
    while (message != nullptr && PKCS7_type_is_signed(message)) {
        message = message->d.sign != nullptr ? message->d.sign->contents : nullptr;
    }
    if (message == nullptr) {
        return nullptr;
    }
    switch (OBJ_obj2nid(message->type)) {
    case NID_pkcs7_data:
        return message->d.data;
    case NID_pkcs7_enveloped:
    case NID_pkcs7_signedAndEnveloped:
    case NID_pkcs7_digest:
    case NID_pkcs7_encrypted:
        return nullptr;
    default:
        return message->d.other != nullptr && message->d.other->type == V_ASN1_OCTET_STRING
                   ? message->d.other->value.octet_string
                   : nullptr;
    }
}

} // namespace

void SignedDataDeleter::operator()(PKCS7* data) const noexcept {
    if (const ASN1_OCTET_STRING* content = contentInside(data)) {
        OPENSSL_cleanse(content->data, static_cast<std::size_t>(content->length));
    }
    PKCS7_free(data);
}

CryptoStreamPtr openText(const char* text, int size) noexcept {
    // Early releases of the crypto library do not say that they only read.
    return CryptoStreamPtr(BIO_new_mem_buf(const_cast<char*>(text), size));
}

CryptoStreamPtr openBytes(const std::vector<char>& bytes) noexcept {
    return openText(bytes.data(), static_cast<int>(bytes.size()));
}

} // namespace klb
