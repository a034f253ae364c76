#ifndef KLB_CORE_CRYPTO_HANDLES_H
#define KLB_CORE_CRYPTO_HANDLES_H

#include <memory>

struct bio_st;
struct x509_st;

namespace klb {

// Owners of objects of the crypto library, for code that stores them and knows nothing else of
// them. trust/ defines the deleters.
struct CryptoStreamDeleter {
    void operator()(bio_st* stream) const noexcept;
};
using CryptoStreamPtr = std::unique_ptr<bio_st, CryptoStreamDeleter>;

struct CertificateDeleter {
    void operator()(x509_st* certificate) const noexcept;
};
using CertificatePtr = std::unique_ptr<x509_st, CertificateDeleter>;

} // namespace klb

#endif
