#ifndef KLB_BENCH_PROTECTED_FILE_H
#define KLB_BENCH_PROTECTED_FILE_H

#include "crypto_pointers.h"

#include <string>

namespace klb::bench {

/// The text of a protected toggle file and the certificate that its signer is checked against.
struct ProtectedFile {
    std::string text;
    CertificatePtr authority;
};

/// Signs a document with a new key, whose certificate a new authority issues, and encrypts it for a
/// system.
ProtectedFile protectDocument(const std::string& document, const std::string& systemId);

std::string toPem(X509* certificate);

} // namespace klb::bench

#endif
