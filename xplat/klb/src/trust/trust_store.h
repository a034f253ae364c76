#ifndef KLB_TRUST_TRUST_STORE_H
#define KLB_TRUST_TRUST_STORE_H

#include "platform/platform.h"
#include "trust/crypto_objects.h"

#include <string>

namespace klb {

/// A store that trusts this certificate and nothing else; null when it cannot be made.
TrustStorePtr trustOnly(X509* certificate) noexcept;

/// A store that trusts every certificate of a PEM file and what lies in the crypto library's
/// default certificate directory. A file that is missing or cannot be read is not reported. Null,
/// with the reason added to the error, when the store cannot be made.
TrustStorePtr buildTrustStore(std::string& error, const std::string& certificatePath,
                              const Platform& platform);

} // namespace klb

#endif
