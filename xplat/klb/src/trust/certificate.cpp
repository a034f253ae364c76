#include "trust/certificate.h"

#include "trust/crypto_objects.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

namespace klb {

void CertificateDeleter::operator()(x509_st* certificate) const noexcept {
    X509_free(certificate);
}

const char* readCertificate(const char* text, CertificatePtr& certificate) {
    const ErrorQueueScope errors;
    const StreamPtr stream = openText(text, -1);
    if (!stream) {
        return "setCertificateData: can't create BIO for the certificate data provided.";
    }
    // Without a pass phrase libcrypto would prompt for one at the terminal.
    char noPassPhrase[] = "";
    certificate.reset(PEM_read_bio_X509(stream.get(), nullptr, nullptr, noPassPhrase));
    return certificate
               ? nullptr
               : "setCertificateData: can't read certificate from the certificate data provided.";
}

} // namespace klb
