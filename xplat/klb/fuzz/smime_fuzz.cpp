// The message inside a protected file. One document was ever signed with the trusted certificate's
// key, so no message may yield other bytes than these, nor set a toggle without them.
#include "check.h"
#include "core/message_reporter.h"
#include "crypto_surroundings.h"
#include "registry/toggle_files.h"
#include "registry/toggles.h"
#include "support/fake_platform.h"
#include "support/protected_samples.h"
#include "support/sealed_envelope.h"
#include "trust/certificate.h"
#include "trust/crypto_objects.h"
#include "trust/signature.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <openssl/err.h>

namespace klb {
namespace {

using fuzz::check;

constexpr const char* kPath = "C:\\data\\toggles.klb";
constexpr const char* kCertificatePath = "C:\\data\\mosk.cert.pem";

struct Verified {
    std::optional<std::string> text;
    std::string error;
    bool operator==(const Verified&) const = default;
};

/// \param certificate Null for that in the file beside the toggle file.
Verified verify(const std::string& message, x509_st* certificate,
                const test::FakePlatform& platform) {
    Verified verified;
    const std::optional<SecretBytes> text = verifySignature(
        {message.begin(), message.end()}, kPath, certificate, platform.services(), verified.error);
    check(ERR_peek_error() == 0, "no error is left in the host's queue");
    if (text) {
        verified.text.emplace(text->begin(), text->end());
    }
    return verified;
}

x509_st* trustedCertificate() {
    static CertificatePtr certificate;
    if (!certificate) {
        readCertificate(test::kSignerCertificate, certificate);
    }
    return certificate.get();
}

int ignoreMessage(KLB_MessageType /*type*/, const char* /*text*/) {
    return 0;
}

/// Whether a toggle is on that is off by default and that the signed document switches on.
bool switchesOn(const std::string& message, test::FakePlatform& platform) {
    constexpr const char* kSystemId = "System";
    platform.files[kPath].bytes = test::sealed(message, kSystemId);
    Registry registry;
    registry.systemId = kSystemId;
    registry.platform = &platform.services();
    setMessageCallback(ignoreMessage);
    registerToggleFile(registry, KLB_ToggleFileType_Unsupported, "token", kPath);
    registerToggle(registry, "/a", false, "token", false);
    setMessageCallback(nullptr);
    return getToggle(registry, "/a", false);
}

void testOneInput(const std::string& message) {
    if (message.empty()) {
        // No envelope has an empty message.
        return;
    }
    test::FakePlatform platform;
    const Verified verified = verify(message, trustedCertificate(), platform);
    platform.files[kCertificatePath].bytes = test::kSignerCertificate;
    check(verified == verify(message, nullptr, platform),
          "it is the same where the certificate comes from");
    // What begins otherwise does not come out of an envelope.
    const bool isMessage = message.starts_with("MIME-Version: 1.0");
    check(switchesOn(message, platform) == (verified.text.has_value() && isMessage),
          "a toggle is set by what was signed, and by nothing else");
    if (verified.text) {
        check(*verified.text == test::kSampleDocument, "only what was signed is accepted");
        check(verified.error.empty(), "what is accepted is no error");
    } else {
        check(verified.error == "Error reading S/MIME message\n" ||
                  verified.error == "Verification failure\n",
              "the text of an error is known");
    }
}

} // namespace
} // namespace klb

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    klb::fuzz::isolateCryptoLibrary();
    klb::initializeCryptoLibrary();
    klb::fuzz::check(klb::trustedCertificate() != nullptr, "the sample's certificate can be read");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    klb::testOneInput({reinterpret_cast<const char*>(bytes), size});
    return 0;
}
