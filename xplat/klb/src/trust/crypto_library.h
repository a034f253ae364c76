#ifndef KLB_TRUST_CRYPTO_LIBRARY_H
#define KLB_TRUST_CRYPTO_LIBRARY_H

namespace klb {

/// Makes the crypto library's algorithms known; protected toggle files need them. May be called
/// more than once.
void initializeCryptoLibrary();

} // namespace klb

#endif
