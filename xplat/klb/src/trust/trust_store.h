#ifndef KLB_TRUST_TRUST_STORE_H
#define KLB_TRUST_TRUST_STORE_H

#include "platform/platform.h"
#include "trust/certificate.h"
#include "trust/crypto_objects.h"

#include <string>

namespace klb {

/// A store that trusts this certificate and nothing else; null when it cannot be made.
TrustStorePtr trustOnly(X509* certificate) noexcept;

/// A store that trusts every certificate of a PEM file and of libcrypto's default certificate
/// directory. A file that is missing or cannot be read is not reported. Null, with the reason
/// appended to the error, when the store cannot be made.
TrustStorePtr buildTrustStore(const std::string& certificatePath, const Platform& platform,
                              std::string& error);

} // namespace klb

#endif
