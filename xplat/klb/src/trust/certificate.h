#ifndef KLB_TRUST_CERTIFICATE_H
#define KLB_TRUST_CERTIFICATE_H

#include <memory>

struct x509_st;

namespace klb {

struct CertificateDeleter {
    void operator()(x509_st* certificate) const noexcept;
};
using CertificatePtr = std::unique_ptr<x509_st, CertificateDeleter>;

/// How the signers of protected files are checked.
struct SignerCheck {
    /// The only signer that is trusted; null to trust what the certificate file trusts.
    CertificatePtr certificate;
    bool skipSignatureCheck = false;
};

/// Reads the first certificate of a PEM text into `certificate`. The text of the error, or null.
const char* readCertificate(const char* text, CertificatePtr& certificate);

} // namespace klb

#endif
