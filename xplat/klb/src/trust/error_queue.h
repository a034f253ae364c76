#ifndef KLB_TRUST_ERROR_QUEUE_H
#define KLB_TRUST_ERROR_QUEUE_H

#include "trust/crypto_objects.h"

#include <array>
#include <cstddef>

#include <openssl/err.h>

namespace klb {

/// The crypto library keeps a queue of errors for each thread, and the host may have some in it.
/// They are taken out when this begins and put back when it ends: in between the crypto library
/// drops the oldest when its queue is full, and all of them when it takes a certificate from its
/// default directory. Each comes back with its code, file, line and text; names of functions and
/// marks that the host set between them do not.
class ErrorQueueScope {
public:
    ErrorQueueScope() noexcept;
    ~ErrorQueueScope();
    ErrorQueueScope(const ErrorQueueScope&) = delete;
    ErrorQueueScope& operator=(const ErrorQueueScope&) = delete;

private:
    struct Entry {
        unsigned long code = 0;
        const char* file = nullptr;
        int line = 0;
        CryptoMemoryPtr fileCopy;
        CryptoMemoryPtr text;
    };

    std::array<Entry, ERR_NUM_ERRORS> entries_;
    std::size_t count_ = 0;
};

} // namespace klb

#endif
