#ifndef KLB_BENCH_CRYPTO_POINTERS_H
#define KLB_BENCH_CRYPTO_POINTERS_H

#include <memory>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace klb::bench {

template <auto free>
struct CryptoDeleter {
    template <class Object>
    void operator()(Object* object) const noexcept {
        free(object);
    }
};

/// A stream, alone or with all streams behind it.
using StreamPtr = std::unique_ptr<BIO, CryptoDeleter<&BIO_free_all>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, CryptoDeleter<&EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, CryptoDeleter<&X509_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, CryptoDeleter<&X509_EXTENSION_free>>;
using SignedDataPtr = std::unique_ptr<PKCS7, CryptoDeleter<&PKCS7_free>>;
using TrustStorePtr = std::unique_ptr<X509_STORE, CryptoDeleter<&X509_STORE_free>>;

} // namespace klb::bench

#endif
