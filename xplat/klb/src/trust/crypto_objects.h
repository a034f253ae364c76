#ifndef KLB_TRUST_CRYPTO_OBJECTS_H
#define KLB_TRUST_CRYPTO_OBJECTS_H

#include <memory>

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/pkcs7.h>
#include <openssl/x509_vfy.h>

namespace klb {

/// Registers libcrypto's algorithms, which protected files need. May be called more than once.
void initializeCryptoLibrary();

/// Frees an object of libcrypto by one of libcrypto's functions.
template <auto freeObject>
struct CryptoDeleter {
    template <class Object>
    void operator()(Object* object) const noexcept {
        freeObject(object);
    }
};

using StreamPtr = std::unique_ptr<BIO, CryptoDeleter<BIO_free>>;
/// A stream and all streams behind it.
using StreamChainPtr = std::unique_ptr<BIO, CryptoDeleter<BIO_free_all>>;
using SignedDataPtr = std::unique_ptr<PKCS7, CryptoDeleter<PKCS7_free>>;
using TrustStorePtr = std::unique_ptr<X509_STORE, CryptoDeleter<X509_STORE_free>>;

struct CryptoMemoryDeleter {
    void operator()(void* block) const noexcept {
        OPENSSL_free(block);
    }
};
/// A block from libcrypto's allocator.
using CryptoMemoryPtr = std::unique_ptr<void, CryptoMemoryDeleter>;

/// Removes what libcrypto adds to this thread's error queue, and keeps the host's errors in it. The
/// host's are lost where libcrypto clears the queue itself, as it does when it takes a certificate
/// from its default directory, and where its own fill the queue.
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

/// A stream that reads a text of this many bytes where it is, or a C string for the size -1; null
/// when it cannot be made.
StreamPtr openText(const char* text, int size) noexcept;

/// The same for bytes.
template <class Bytes>
StreamPtr openBytes(const Bytes& bytes) noexcept {
    return openText(bytes.data(), static_cast<int>(bytes.size()));
}

} // namespace klb

#endif
