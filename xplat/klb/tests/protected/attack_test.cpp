#include "protected_files.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

/// A protected file that must set no toggle, although this certificate is trusted.
struct Attack {
    const char* name;
    const char* file;
    const char* trusted;
    Outcome outcome;
};

template <std::size_t N>
void expectAllFail(const Attack (&attacks)[N]) {
    for (const Attack& attack : attacks) {
        SCOPED_TRACE(attack.name);
        for (const Trust& trust : bothWaysToTrust(attack.trusted)) {
            SCOPED_TRACE(trust.host == Trust::Host::GivesCertificate ? "given by the host"
                                                                     : "beside the file");
            expectOutcome(made(attack.file), trust, attack.outcome);
        }
    }
}

TEST(Attack, FilesAttackedSetTheirTogglesWhenLeftAlone) {
    for (const Trust& trust : bothWaysToTrust("rsa.pem")) {
        expectOutcome(made("rsa.klb"), trust, kAccepted);
        expectOutcome(made("made-by-hand.klb"), trust, kAccepted);
    }
    for (const Trust& trust : bothWaysToTrust("ca.pem")) {
        expectOutcome(made("leaf.klb"), trust, kAccepted);
    }
}

TEST(Attack, OnTheContentOfTheMessage) {
    const Attack attacks[] = {
        {"content changed", "content-changed.klb", "rsa.pem", refused(kNotVerified)},
        {"other content in front of a message that has its own", "content-in-front.klb", "rsa.pem",
         refused(kNotVerified)},
        {"signature of another document by the right key", "signature-of-another.klb", "rsa.pem",
         refused(kNotVerified)},
        {"line ends that are not those signed", "detached-lf.klb", "rsa.pem",
         refused(kNotVerified)},
        {"signed for another system", "other-header.klb", "rsa.pem",
         refused("ErrorSystemIdDoesNotMatch")},
    };
    expectAllFail(attacks);
}

TEST(Attack, OnTheSignature) {
    const Attack attacks[] = {
        {"signature changed", "signature-changed.klb", "rsa.pem", refused(kNotVerified)},
        {"signature stripped", "signature-stripped.klb", "rsa.pem", refused(kNoMessage)},
        {"signature stripped, content type given", "signature-stripped-typed.klb", "rsa.pem",
         refused(kNoMessage)},
        {"signature cut off", "signature-cut-off.klb", "rsa.pem", refused(kNoMessage)},
        {"certificates, but no signature", "certificates-only.klb", "rsa.pem",
         refused(kNotVerified)},
        {"certificates, but neither content nor signature", "certificates-only-opaque.klb",
         "rsa.pem", refused(kNotVerified)},
        {"data that nobody signed", "data-only.klb", "rsa.pem", refused(kNotVerified)},
        {"encrypted for the signer", "encrypted-only.klb", "rsa.pem", refused(kNotVerified)},
        {"signed inside, encrypted outside", "encrypted-signed.klb", "rsa.pem",
         refused(kNotVerified)},
        {"signer named by key, not by certificate", "by-key-identifier.klb", "ca.pem",
         refused(kNoMessage)},
    };
    expectAllFail(attacks);
}

TEST(Attack, ByAnotherSigner) {
    const Attack attacks[] = {
        {"stranger whose certificate travels in the message", "stranger.klb", "rsa.pem",
         refused(kNotVerified)},
        {"stranger with our certificate in the message too", "stranger-with-ours.klb", "rsa.pem",
         refused(kNotVerified)},
        {"stranger with our names and serial number", "clone.klb", "ec.pem", refused(kNotVerified)},
        {"stranger beside the right signer", "ours-and-stranger.klb", "rsa.pem",
         refused(kNotVerified)},
        {"right signer beside one who is not trusted", "rsa-and-ec.klb", "ec.pem",
         refused(kNotVerified)},
        {"right signer without certificate", "no-certificate.klb", "rsa.pem",
         refused(kNotVerified)},
    };
    expectAllFail(attacks);
}

TEST(Attack, WithACertificateThatMustNotSign) {
    const Attack attacks[] = {
        {"leaf trusted alone", "leaf.klb", "leaf.pem", refused(kNotVerified)},
        {"its issuer trusted alone, which is no root", "deep.klb", "intermediate.pem",
         refused(kNotVerified)},
        {"issuer missing between leaf and root", "deep-alone.klb", "ca.pem", refused(kNotVerified)},
        {"issued by a certificate that is no authority's", "below-leaf.klb", "ca.pem",
         refused(kNotVerified)},
        {"expired", "expired.klb", "expired.pem", refused(kNotVerified)},
        {"not yet valid", "early.klb", "early.pem", refused(kNotVerified)},
        {"issued by an expired authority", "late-leaf.klb", "expired-root.pem",
         refused(kNotVerified)},
        {"for web servers only", "web.klb", "ca.pem", refused(kNotVerified)},
        {"for encipherment only", "encipherment.klb", "ca.pem", refused(kNotVerified)},
        {"another authority's", "leaf.klb", "rsa.pem", refused(kNotVerified)},
    };
    expectAllFail(attacks);
}

TEST(Attack, OnTheEnvelope) {
    const Attack attacks[] = {
        {"made for another system", "other-system.klb", "rsa.pem", refused(kOtherComputer)},
        {"made for a system whose name differs in case", "other-case-system.klb", "rsa.pem",
         refused(kOtherComputer)},
        {"made for a system with a longer name", "longer-system.klb", "rsa.pem",
         refused(kOtherComputer)},
        {"base64 armour removed", "rsa-binary.klb", "rsa.pem", refused(kUnreadable)},
        {"no envelope around the message", "rsa-unsealed.klb", "rsa.pem", refused(kUnreadable)},
        {"base64 around the message, and no encryption", "rsa-unencrypted.klb", "rsa.pem",
         refused(kBadMagic)},
        {"no envelope around the document", "document.klb", "rsa.pem", refused(kUnreadable)},
        {"bare document in the envelope", "json.klb", "rsa.pem", refused(kOtherComputer)},
        {"empty ciphertext", "no-ciphertext.klb", "rsa.pem", kSilence},
        {"wrong magic", "magic-salted__.klb", "rsa.pem", refused(kBadMagic)},
        {"mail headers in front", "mail-headers.klb", "rsa.pem", refused(kOtherComputer)},
    };
    expectAllFail(attacks);
}

TEST(Attack, WhileCheckingIsOff) {
    const struct {
        const char* name;
        const char* file;
        Outcome outcome;
    } attacks[] = {
        {"signed message", "rsa.klb", refused(kOtherComputer)},
        {"signed message with its content inside", "rsa-opaque.klb", refused(kOtherComputer)},
        {"message without signature", "signature-stripped.klb", refused(kOtherComputer)},
        {"made for another system", "other-system.fixed.klb", refused(kOtherComputer)},
        {"document for another system", "json-other-header.klb",
         refused("ErrorSystemIdDoesNotMatch")},
        {"no envelope around the document", "document.klb", refused(kUnreadable)},
        {"empty ciphertext", "no-ciphertext.klb", kSilence},
        {"wrong magic", "magic-salted__.klb", refused(kBadMagic)},
    };
    for (const auto& attack : attacks) {
        SCOPED_TRACE(attack.name);
        expectOutcome(made(attack.file), kCheckingOff, attack.outcome);
    }
}

TEST(Attack, OnTheCertificateFile) {
    const struct {
        const char* name;
        Trust trust;
    } attacks[] = {
        {"missing", kNobody},
        {"a directory",
         {Trust::Host::SaysNothing,
          {},
          [](const TempDirectory& directory) { directory.makeDirectory(kCertificateFile); }}},
        {"under another name",
         {Trust::Host::SaysNothing,
          {},
          [](const TempDirectory& directory) { directory.write("cert.pem", made("rsa.pem")); }}},
        {"in the directory below",
         {Trust::Host::SaysNothing,
          {},
          [](const TempDirectory& directory) {
              directory.makeDirectory("below");
              directory.write("below/mosk.cert.pem", made("rsa.pem"));
          }}},
        {"someone else's", besideLies(made("stranger.pem"))},
        {"an encrypted certificate", besideLies(made("encrypted.pem"))},
        {"empty", besideLies("")},
        {"no certificate", besideLies("this is no certificate\n")},
        {"in DER", besideLies(made("rsa.der"))},
        {"the signer's key", besideLies(made("rsa.key"))},
        {"a request", besideLies(made("leaf.csr"))},
        {"a revocation list", besideLies(made("ca.crl"))},
        {"cut", besideLies(made("rsa.pem").substr(0, made("rsa.pem").size() / 2))},
        {"without its first line", besideLies(made("rsa.pem").substr(1))},
    };
    for (const auto& attack : attacks) {
        SCOPED_TRACE(attack.name);
        expectOutcome(made("rsa.klb"), attack.trust, refused(kNotVerified));
    }
    expectOutcome(made("rsa.klb"), besideLies(made("rsa.pem")), kAccepted);
}

TEST(Attack, FileThatWasRefusedStaysRefused) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string path = directory.write("toggles.klb", made("content-changed.klb"));
        const LibrarySession library;
        observer.expectSilence([] { KLB_SetCertificateData(made("rsa.pem").c_str()); });
        expectOutcomeOf(observer, path, refused(kNotVerified));
        directory.write("toggles.klb", made("rsa.klb"));
        observer.expectSilence([&] {
            registerProtectedFile(path);
            EXPECT_FALSE(registeredValue("/header", false, kToken));
            EXPECT_FALSE(KLB_GetToggle("/a"));
        });
        // Nor does another token get at it.
        observer.expectError<std::domain_error>(
            "registerToggleFile: toggle file path location as already been registered to 'other'",
            [&] { registerProtectedFile(path, "other"); });
    });
}

} // namespace

} // namespace klb::test
