#ifndef KLB_TRUST_CRYPTO_OBJECTS_H
#define KLB_TRUST_CRYPTO_OBJECTS_H

#include "core/crypto_handles.h"

#include <memory>
#include <vector>

#include <openssl/bio.h>
#include <openssl/pkcs7.h>
#include <openssl/x509_vfy.h>

namespace klb {

/// Frees a stream with all the streams behind it.
struct StreamChainDeleter {
    void operator()(BIO* first) const noexcept {
        BIO_free_all(first);
    }
};
using StreamChainPtr = std::unique_ptr<BIO, StreamChainDeleter>;

struct SignedDataDeleter {
    void operator()(PKCS7* data) const noexcept {
        PKCS7_free(data);
    }
};
using SignedDataPtr = std::unique_ptr<PKCS7, SignedDataDeleter>;

struct TrustStoreDeleter {
    void operator()(X509_STORE* store) const noexcept {
        X509_STORE_free(store);
    }
};
using TrustStorePtr = std::unique_ptr<X509_STORE, TrustStoreDeleter>;

/// A stream that reads these bytes where they are; null when it cannot be made.
CryptoStreamPtr openBytes(const std::vector<char>& bytes) noexcept;

/// The crypto library keeps a queue of 16 errors for each thread; the host may have some in it.
/// What happens while this lives leaves no trace there. What the crypto library drops by itself is
/// lost: the oldest errors when its own fill the queue, all of them when it takes a certificate
/// from its default directory.
class ErrorQueueScope {
public:
    ErrorQueueScope() noexcept;
    ~ErrorQueueScope();
    ErrorQueueScope(const ErrorQueueScope&) = delete;
    ErrorQueueScope& operator=(const ErrorQueueScope&) = delete;
};

} // namespace klb

#endif
