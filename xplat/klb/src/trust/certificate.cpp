#include "trust/certificate.h"

#include "core/message_reporter.h"
#include "trust/crypto_objects.h"

#include <openssl/pem.h>

namespace klb {

namespace {

/// Reads the first certificate of the text into the registry; the text of the error, or null.
const char* readCertificate(Registry& registry, const char* text) {
    const ErrorQueueScope errors;
    registry.certificateStream = openText(text, -1);
    if (!registry.certificateStream) {
        return "setCertificateData: can't create BIO for the certificate data provided.";
    }
    // Without a pass phrase at hand the crypto library would ask for one at the terminal.
    char noPassPhrase[] = "";
    registry.certificate.reset(
        PEM_read_bio_X509(registry.certificateStream.get(), nullptr, nullptr, noPassPhrase));
    if (!registry.certificate) {
        registry.certificateStream.reset();
        return "setCertificateData: can't read certificate from the certificate data provided.";
    }
    return nullptr;
}

} // namespace

void setCertificateData(Registry& registry, const char* certificateData) {
    if (registry.certificate) {
        reportDomainError("setCertificateData: certificate data has already been set.");
        return;
    }
    if (registry.anythingRegistered()) {
        reportDomainError("setCertificateData: must be called before any registration routines.");
        return;
    }
    registry.noCertificate = certificateData == nullptr;
    if (certificateData == nullptr) {
        return;
    }
    if (const char* error = readCertificate(registry, certificateData)) {
        reportDomainError(error);
    }
}

} // namespace klb
