// A certificate as the host gives it, and as it lies in the file beside a protected file.
#include "check.h"
#include "core/message_reporter.h"
#include "crypto_surroundings.h"
#include "registry/settings.h"
#include "support/fake_platform.h"
#include "support/protected_samples.h"
#include "trust/certificate.h"
#include "trust/crypto_objects.h"
#include "trust/signature.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace klb {
namespace {

using fuzz::check;

constexpr const char* kPath = "C:\\data\\toggles.klb";
constexpr const char* kCertificatePath = "C:\\data\\mosk.cert.pem";
const std::string kUnreadable =
    "setCertificateData: can't read certificate from the certificate data provided.";
const std::string kAlreadySet = "setCertificateData: certificate data has already been set.";

std::vector<std::string>& messages() {
    static std::vector<std::string> all;
    return all;
}

int keepMessage(KLB_MessageType /*type*/, const char* text) {
    messages().push_back(text);
    return 0;
}

/// The text of what is reported through the callback; empty when nothing is.
std::string reportedBy(Registry& registry, const char* certificateData) {
    messages().clear();
    setMessageCallback(keepMessage);
    setCertificateData(registry, certificateData);
    setMessageCallback(nullptr);
    check(messages().size() <= 1, "an error is reported once");
    check(ERR_peek_error() == 0, "no error is left in the host's queue");
    return messages().empty() ? "" : messages().front();
}

/// The same without a callback.
std::string thrownBy(Registry& registry, const char* certificateData) {
    try {
        setCertificateData(registry, certificateData);
    } catch (const std::domain_error& error) {
        return error.what();
    }
    return "";
}

void checkHostCertificate(const char* text) {
    Registry registry;
    const std::string error = reportedBy(registry, text);
    Registry other;
    check(thrownBy(other, text) == error, "an error is thrown where it is not reported");
    check(!registry.signers.skipSignatureCheck, "a text never switches the check off");
    if (error.empty()) {
        const X509* const certificate = registry.signers.certificate.get();
        check(certificate != nullptr, "a certificate is there when it was read");
        check(reportedBy(registry, text) == kAlreadySet, "a certificate is set once");
        check(registry.signers.certificate.get() == certificate, "the first certificate stays");
        return;
    }
    check(error == kUnreadable, "the text of an error is known");
    check(!registry.signers.certificate, "nothing stays of a text that cannot be read");
    check(reportedBy(registry, test::kSignerCertificate).empty() && registry.signers.certificate,
          "after an error a certificate can still be set");
}

struct InfosDeleter {
    void operator()(STACK_OF(X509_INFO) * infos) const noexcept {
        sk_X509_INFO_pop_free(infos, X509_INFO_free);
    }
};

CertificatePtr signerCertificate() {
    const StreamPtr text = openText(test::kSignerCertificate, -1);
    return CertificatePtr(PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr));
}

/// Whether the signer's certificate is anywhere in a PEM text.
bool namesTheSigner(const std::string& pem) {
    static const CertificatePtr signer = signerCertificate();
    const StreamPtr text = openText(pem.data(), static_cast<int>(pem.size()));
    char noPassPhrase[] = "";
    const std::unique_ptr<STACK_OF(X509_INFO), InfosDeleter> infos(
        PEM_X509_INFO_read_bio(text.get(), nullptr, nullptr, noPassPhrase));
    bool found = false;
    for (int i = 0; infos && i < sk_X509_INFO_num(infos.get()) && !found; ++i) {
        const X509* const each = sk_X509_INFO_value(infos.get(), i)->x509;
        found = each != nullptr && X509_cmp(each, signer.get()) == 0;
    }
    // Comparing looks into the certificate and can fail too.
    ERR_clear_error();
    return found;
}

void checkCertificateFile(const std::string& bytes) {
    test::FakePlatform platform;
    platform.files[kCertificatePath].bytes = bytes;
    const std::string message = test::kSignedDocument;
    std::string error;
    const std::optional<SecretBytes> text = verifySignature({message.begin(), message.end()}, kPath,
                                                            nullptr, platform.services(), error);
    check(ERR_peek_error() == 0, "no error is left in the host's queue");
    if (text) {
        check(namesTheSigner(bytes), "a signer is trusted who is in the file");
        check(std::string(text->begin(), text->end()) == test::kSampleDocument && error.empty(),
              "what was signed is accepted");
    } else {
        check(error == "Verification failure\n", "the text of an error is known");
    }
}

} // namespace
} // namespace klb

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    klb::fuzz::isolateCryptoLibrary();
    klb::initializeCryptoLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(bytes), size);
    klb::checkHostCertificate(input.c_str());
    klb::checkCertificateFile(input);
    return 0;
}
