#ifndef KLB_FUZZ_CRYPTO_SURROUNDINGS_H
#define KLB_FUZZ_CRYPTO_SURROUNDINGS_H

namespace klb::fuzz {

/// Keeps the machine's certificates and configuration from the crypto library, before its first
/// use. From then on the program ends when the crypto library asks for a pass phrase.
void isolateCryptoLibrary();

} // namespace klb::fuzz

#endif
