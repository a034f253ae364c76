#ifndef KLB_TRUST_CRYPTO_OBJECTS_H
#define KLB_TRUST_CRYPTO_OBJECTS_H

#include "core/crypto_handles.h"

#include <memory>
#include <vector>

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
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

/// Overwrites the content that a message carries inside itself, then frees the message.
struct SignedDataDeleter {
    void operator()(PKCS7* data) const noexcept;
};
using SignedDataPtr = std::unique_ptr<PKCS7, SignedDataDeleter>;

struct TrustStoreDeleter {
    void operator()(X509_STORE* store) const noexcept {
        X509_STORE_free(store);
    }
};
using TrustStorePtr = std::unique_ptr<X509_STORE, TrustStoreDeleter>;

struct CryptoMemoryDeleter {
    void operator()(void* block) const noexcept {
        OPENSSL_free(block);
    }
};
/// A block from the crypto library's allocator.
using CryptoMemoryPtr = std::unique_ptr<void, CryptoMemoryDeleter>;

/// Takes what libcrypto adds to this thread's queue of errors out again, and leaves the host's
/// errors in it. The host's are lost where libcrypto clears the queue itself, as it does when it
/// takes a certificate from its default directory, and where its own fill the queue.
class ErrorQueueScope {
public:
    ErrorQueueScope() noexcept {
        ERR_set_mark();
    }
    ~ErrorQueueScope() {
        ERR_pop_to_mark();
    }
    ErrorQueueScope(const ErrorQueueScope&) = delete;
    ErrorQueueScope& operator=(const ErrorQueueScope&) = delete;
};

/// A stream that reads a text of that many bytes, or of a C string's for the size -1, where it is;
/// null when it cannot be made.
CryptoStreamPtr openText(const char* text, int size) noexcept;

/// A stream that reads these bytes where they are; null when it cannot be made.
CryptoStreamPtr openBytes(const std::vector<char>& bytes) noexcept;

} // namespace klb

#endif
