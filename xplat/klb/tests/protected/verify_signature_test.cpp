#include "crypto_environment.h"
#include "protected_files.h"
#include "scoped_environment.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

TEST(CryptoEnvironment, IsTheTestsOwn) {
    EXPECT_EQ(CryptoVariable::current("SSL_CERT_DIR"), madePath("no-certificates"));
    EXPECT_EQ(CryptoVariable::current("SSL_CERT_FILE"), madePath("no-such-file.pem"));
    EXPECT_EQ(CryptoVariable::current("OPENSSL_CONF"), madePath("empty.cnf"));
    EXPECT_TRUE(std::filesystem::is_empty(madePath("no-certificates")));
    EXPECT_FALSE(std::filesystem::exists(madePath("no-such-file.pem")));
    EXPECT_TRUE(std::filesystem::is_empty(madePath("empty.cnf")));
}

TEST(VerifySignature, AcceptsWhatATrustedSignerSigned) {
    const struct {
        const char* file;
        const char* trusted;
    } cases[] = {
        {"rsa.klb", "rsa.pem"},
        {"rsa-opaque.klb", "rsa.pem"},
        {"rsa-cms.klb", "rsa.pem"},
        {"rsa-cms-opaque.klb", "rsa.pem"},
        {"ec.klb", "ec.pem"},
        {"ec-opaque.klb", "ec.pem"},
        {"ec-cms.klb", "ec.pem"},
        {"ec-cms-opaque.klb", "ec.pem"},
        {"leaf.klb", "ca.pem"},
        {"leaf-opaque.klb", "ca.pem"},
        {"leaf-cms.klb", "ca.pem"},
        {"leaf-cms-opaque.klb", "ca.pem"},
        {"rsa-leaf.klb", "ca.pem"},
        {"deep.klb", "ca.pem"},
        {"sha512.klb", "rsa.pem"},
        {"no-attributes.klb", "rsa.pem"},
        {"streamed.klb", "rsa.pem"},
        {"made-by-hand.klb", "rsa.pem"},
        {"message-crlf.klb", "rsa.pem"},
        {"small.klb", "ec.pem"},
        {"small-opaque.klb", "ec.pem"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        for (const Trust& trust : bothWaysToTrust(c.trusted)) {
            expectOutcome(made(c.file), trust, kAccepted);
        }
        expectOutcome(made(c.file), kNobody, refused(kNotVerified));
        for (const Trust& trust : bothWaysToTrust("stranger.pem")) {
            expectOutcome(made(c.file), trust, refused(kNotVerified));
        }
    }
}

TEST(VerifySignature, LeavesTheSignedDocumentAndNothingElse) {
    const std::string headless = R"({"features":{"a":true,"b":false,"c":true}})";
    const DamagedDocument lines =
        damagedAt("{\n\"features\":{\n\"a\":true,\n\"b\":false,\n\"c\":n^othing}}\n");
    constexpr std::uint64_t kLinesBefore = 4;
    const struct {
        const char* name;
        const char* file;
        Outcome outcome;
    } cases[] = {
        {"lines end in CR LF", "detached-crlf.klb", kAccepted},
        {"lines end in LF", "opaque-lf.klb", kAccepted},
        {"no header", "headless.klb", kAccepted},
        {"white space in front", "white-space.klb", kAccepted},
        {"bytes behind a NUL", "zero.klb", kAccepted},
        {"text before the signed part", "preamble.klb", kAccepted},
        {"text behind the message", "epilogue.klb", kAccepted},
        {"same content inside and in front", "content-twice.klb", kAccepted},
        {"two bytes are enough", "empty-object.klb", kSilence},
        {"MIME headers in the content", "text.klb", refused("ParseErrorValueInvalid")},
        {"nothing", "no-document.klb", refused("ParseErrorDocumentEmpty")},
        {"no object", "array.klb", refused("ErrorDocumentRootMustBeObject")},
        {"another system's", "other-header.klb", refused("ErrorSystemIdDoesNotMatch")},
        {"offsets count the CRs that signing adds", "syntax-error.klb",
         refused("ParseErrorValueInvalid", lines.offset + kLinesBefore)},
        {"offsets of the document as it was", "syntax-error-lf.klb",
         refused("ParseErrorValueInvalid", lines.offset)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const Trust& trust : bothWaysToTrust("rsa.pem")) {
            expectOutcome(made(c.file), trust, c.outcome);
        }
    }
}

TEST(VerifySignature, EveryCertificateOfTheFileBesideIsTrusted) {
    const std::string rsa = made("rsa.pem");
    const struct {
        const char* name;
        const char* file;
        std::string certificates;
        Outcome outcome;
    } cases[] = {
        {"first", "rsa.klb", rsa + made("stranger.pem") + made("ec.pem"), kAccepted},
        {"second", "rsa.klb", made("stranger.pem") + rsa + made("ec.pem"), kAccepted},
        {"last", "rsa.klb", made("stranger.pem") + made("ec.pem") + rsa, kAccepted},
        {"twice", "rsa.klb", rsa + rsa, kAccepted},
        {"both of two signers", "rsa-and-ec.klb", rsa + made("ec.pem"), kAccepted},
        {"one of two signers", "rsa-and-ec.klb", rsa, refused(kNotVerified)},
        {"issuer and root", "deep-alone.klb", made("intermediate.pem") + made("ca.pem"), kAccepted},
        {"issuer without root", "deep-alone.klb", made("intermediate.pem"), refused(kNotVerified)},
        {"signer and root without issuer", "deep-alone.klb", made("deep.pem") + made("ca.pem"),
         refused(kNotVerified)},
        {"a hundred others", "rsa.klb",
         [&] {
             std::string all;
             for (int i = 0; i < 50; ++i) {
                 all += made("stranger.pem") + made("ec.pem");
             }
             return all + rsa;
         }(),
         kAccepted},
        {"none of three", "rsa.klb", made("stranger.pem") + made("ec.pem") + made("ca.pem"),
         refused(kNotVerified)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(made(c.file), besideLies(c.certificates), c.outcome);
    }
}

TEST(VerifySignature, FileBesideMayHoldOtherThings) {
    const std::string rsa = made("rsa.pem");
    const struct {
        const char* name;
        std::string text;
    } cases[] = {
        {"words in front", "The signer of this season's files\n\n" + rsa},
        {"words behind", rsa + "That is all.\n"},
        {"an empty revocation list", made("empty.crl") + rsa},
        {"a revocation list behind", rsa + made("ca.crl")},
        {"a key", made("rsa.key") + rsa},
        {"trust settings", made("trusted.pem")},
        {"a megabyte of words in front",
         [&] {
             std::string words;
             for (int i = 0; i < 50'000; ++i) {
                 words += "twenty bytes a line\n";
             }
             return words + rsa;
         }()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(made("rsa.klb"), besideLies(c.text), kAccepted);
        expectOutcome(made("stranger.klb"), besideLies(c.text), refused(kNotVerified));
    }
}

TEST(VerifySignature, FileBesideIsLoadedWholeOrNotAtAll) {
    const std::string rsa = made("rsa.pem");
    const std::string broken = "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n";
    const struct {
        const char* name;
        std::string text;
    } cases[] = {
        {"a broken certificate in front", broken + rsa},
        {"a broken certificate behind", rsa + broken},
        {"a certificate that is no base64",
         rsa + "-----BEGIN CERTIFICATE-----\n!!!!\n-----END CERTIFICATE-----\n"},
        {"a certificate cut short", rsa + made("ec.pem").substr(0, 200)},
        {"a revocation list cut short", rsa + made("ca.crl").substr(0, 200)},
        {"an encrypted certificate in front", made("encrypted.pem") + rsa},
        {"an encrypted certificate behind", rsa + made("encrypted.pem")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(made("rsa.klb"), besideLies(c.text), refused(kNotVerified));
    }
}

TEST(VerifySignature, RevocationListsAreNotConsulted) {
    expectOutcome(made("leaf.klb"), besideLies(made("ca.pem") + made("ca.crl")), kAccepted);
    expectOutcome(made("leaf.klb"), besideLies(made("ca.crl") + made("ca.pem")), kAccepted);
    expectOutcome(made("leaf.klb"), besideLies(made("ca.crl")), refused(kNotVerified));
}

/// Trust in a certificate of the host, and a certificate file beside.
Trust hostAndFile(const std::string& hostPem, const std::string& filePem) {
    Trust trust = besideLies(filePem);
    trust.host = Trust::Host::GivesCertificate;
    trust.hostText = hostPem;
    return trust;
}

TEST(VerifySignature, CertificateOfTheHostIsTheOnlyOneTrusted) {
    const std::string rsa = made("rsa.pem");
    const std::string stranger = made("stranger.pem");
    expectOutcome(made("rsa.klb"), hostAndFile(rsa, stranger), kAccepted);
    expectOutcome(made("rsa.klb"), hostAndFile(rsa, "no certificate"), kAccepted);
    expectOutcome(made("rsa.klb"), hostAndFile(stranger, rsa), refused(kNotVerified));
    expectOutcome(made("deep-alone.klb"),
                  hostAndFile(made("ca.pem"), made("intermediate.pem") + made("ca.pem")),
                  refused(kNotVerified));
    expectOutcome(made("rsa-and-ec.klb"), hostAndFile(rsa, made("ec.pem")), refused(kNotVerified));

    const CryptoVariable defaults("SSL_CERT_DIR", madePath("directory-of-rsa"));
    expectOutcome(made("rsa.klb"), hostGives(stranger), refused(kNotVerified));
    expectOutcome(made("rsa.klb"), hostAndFile(stranger, rsa), refused(kNotVerified));
}

TEST(VerifySignature, DefaultDirectoryIsTrustedWhenTheHostGivesNoCertificate) {
    {
        const CryptoVariable defaults("SSL_CERT_DIR", madePath("directory-of-rsa"));
        expectOutcome(made("rsa.klb"), kNobody, kAccepted);
        expectOutcome(made("rsa-opaque.klb"), kNobody, kAccepted);
        expectOutcome(made("rsa.klb"), besideLies(made("stranger.pem")), kAccepted);
        expectOutcome(made("stranger.klb"), besideLies(made("stranger.pem")), kAccepted);
        expectOutcome(made("rsa.klb"), besideLies("no certificate"), kAccepted);
        expectOutcome(made("rsa-and-ec.klb"), besideLies(made("ec.pem")), kAccepted);
        expectOutcome(made("ec.klb"), kNobody, refused(kNotVerified));
        expectOutcome(made("content-changed.klb"), kNobody, refused(kNotVerified));
        expectOutcome(made("rsa.klb"), kCheckingOff, refused(kOtherComputer));
    }
    {
        const CryptoVariable defaults("SSL_CERT_DIR", madePath("directory-of-ca"));
        expectOutcome(made("leaf.klb"), kNobody, kAccepted);
        expectOutcome(made("deep.klb"), kNobody, kAccepted);
        expectOutcome(made("deep-alone.klb"), kNobody, refused(kNotVerified));
        expectOutcome(made("deep-alone.klb"), besideLies(made("intermediate.pem")), kAccepted);
        expectOutcome(made("web.klb"), kNobody, refused(kNotVerified));
    }
    expectOutcome(made("rsa.klb"), kNobody, refused(kNotVerified));
}

TEST(VerifySignature, DefaultDirectoriesMayBeSeveral) {
#if defined(_WIN32)
    const std::string between = ";";
#else
    const std::string between = ":";
#endif
    const CryptoVariable defaults("SSL_CERT_DIR", madePath("no-certificates") + between +
                                                      madePath("directory-of-many") + between +
                                                      madePath("directory-of-rsa"));
    for (const char* file : {"rsa.klb", "ec.klb", "stranger.klb", "leaf.klb"}) {
        SCOPED_TRACE(file);
        expectOutcome(made(file), kNobody, kAccepted);
    }
    expectOutcome(made("clone.klb"), kNobody, refused(kNotVerified));
    expectOutcome(made("expired.klb"), kNobody, refused(kNotVerified));
}

TEST(VerifySignature, DefaultDirectoryIsAskedForWithEachFile) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession library;
        const std::string before = directory.write("before.klb", made("rsa.klb"));
        observer.expectError<std::domain_error>(loadErrorText(kNotVerified, before),
                                                [&] { registerProtectedFile(before, "before"); });
        const CryptoVariable defaults("SSL_CERT_DIR", madePath("directory-of-rsa"));
        expectOutcomeOf(observer, directory.write("after.klb", made("rsa.klb")), kAccepted);
    });
}

TEST(VerifySignature, DefaultDirectoryHoldsCertificatesUnderTheirHashes) {
    const TempDirectory unhashed;
    unhashed.write("rsa.pem", made("rsa.pem"));
    unhashed.write("mosk.cert.pem", made("rsa.pem"));
    for (const std::string& path :
         {unhashed.path(), unhashed.pathOf("rsa.pem"), unhashed.pathOf("missing")}) {
        SCOPED_TRACE(path);
        const CryptoVariable defaults("SSL_CERT_DIR", path);
        expectOutcome(made("rsa.klb"), kNobody, refused(kNotVerified));
        expectOutcome(made("rsa.klb"), besideLies(made("rsa.pem")), kAccepted);
    }
}

TEST(VerifySignature, DefaultCertificateFileIsNotTrusted) {
    const CryptoVariable defaults("SSL_CERT_FILE", madePath("rsa.pem"));
    expectOutcome(made("rsa.klb"), kNobody, refused(kNotVerified));
    expectOutcome(made("rsa.klb"), besideLies(made("stranger.pem")), refused(kNotVerified));
}

TEST(VerifySignature, DeletingTheCertificateFileEndsTheTrust) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string path = directory.write("toggles.klb", made("rsa.klb"));
        directory.write(kCertificateFile, made("rsa.pem"));
        {
            const LibrarySession library;
            expectOutcomeOf(observer, path, kAccepted);
        }
        directory.remove(kCertificateFile);
        const LibrarySession library;
        expectOutcomeOf(observer, path, refused(kNotVerified));
    });
}

TEST(VerifySignature, EachFileIsCheckedAgainstTheCertificateFileOfItsDirectory) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.makeDirectory("one");
        directory.makeDirectory("two");
        directory.write("one/mosk.cert.pem", made("rsa.pem"));
        directory.write("two/mosk.cert.pem", made("ec.pem"));
        const std::string rsaInOne = directory.write("one/rsa.klb", made("rsa.klb"));
        const std::string ecInOne = directory.write("one/ec.klb", made("ec.klb"));
        const std::string rsaInTwo = directory.write("two/rsa.klb", made("rsa.klb"));
        const std::string ecInTwo = directory.write("two/ec.klb", made("ec.klb"));
        const LibrarySession library;
        observer.expectSilence([&] { registerProtectedFile(rsaInOne, "rsaInOne"); });
        observer.expectError<std::domain_error>(loadErrorText(kNotVerified, ecInOne),
                                                [&] { registerProtectedFile(ecInOne, "ecInOne"); });
        observer.expectError<std::domain_error>(loadErrorText(kNotVerified, rsaInTwo), [&] {
            registerProtectedFile(rsaInTwo, "rsaInTwo");
        });
        observer.expectSilence([&] {
            registerProtectedFile(ecInTwo, "ecInTwo");
            EXPECT_TRUE(registeredValue("/a", false, "ecInTwo"));
            EXPECT_FALSE(registeredValue("/b", true, "rsaInOne"));
            EXPECT_FALSE(registeredValue("/c", false, "ecInOne"));
        });
    });
}

TEST(VerifySignature, CertificateFileLiesBesideAFileOfTheSupportDirectory) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.makeDirectory("Mosk/Support/below");
        const ScopedEnvironment programData("PROGRAMDATA", directory.path());
        const std::string support =
            directory.path() + kSeparator + "Mosk" + kSeparator + "Support" + kSeparator;
        directory.write("Mosk/Support/toggles.klb", made("rsa.klb"));
        directory.write("Mosk/Support/below/toggles.klb", made("rsa.klb"));
        const LibrarySession library;
        observer.expectError<std::domain_error>(
            loadErrorText(kNotVerified, support + "toggles.klb"),
            [] { registerProtectedFile("toggles.klb", "early"); });
        directory.write("Mosk/Support/mosk.cert.pem", made("rsa.pem"));
        // The last separator of the path counts, and here it is a slash on every platform.
        observer.expectError<std::domain_error>(
            loadErrorText(kNotVerified, support + "below/toggles.klb"),
            [] { registerProtectedFile("below/toggles.klb", "below"); });
        directory.write("Mosk/Support/again.klb", made("rsa.klb"));
        observer.expectSilence([] {
            registerProtectedFile("again.klb");
            expectToggles(true);
        });
    });
}

TEST(VerifySignature, CertificateFileIsFoundBehindTheLastSeparatorOfEitherKind) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.makeDirectory("sub");
        directory.write("sub/toggles.klb", made("rsa.klb"));
        directory.write("sub/mosk.cert.pem", made("rsa.pem"));
        const std::string before = directory.path() + kSeparator;
        {
            const LibrarySession library;
            expectOutcomeOf(observer, before + "sub/toggles.klb", kAccepted);
        }
        {
            const LibrarySession library;
            expectOutcomeOf(observer, before + "sub//toggles.klb", kAccepted);
        }
        {
            // A path with a backslash that names no root: from the current directory.
            const WorkingDirectory here(directory.path());
            const LibrarySession library;
            expectOutcomeOf(observer, "sub\\toggles.klb", kAccepted);
        }
        {
            const WorkingDirectory here(directory.path());
            const LibrarySession library;
            expectOutcomeOf(observer, ".\\sub/toggles.klb", kAccepted);
        }
#if defined(_WIN32)
        const LibrarySession library;
        expectOutcomeOf(observer, before + "sub\\toggles.klb", kAccepted);
#else
        // In a path that begins with "/" a backslash belongs to a name.
        directory.write("sub\\toggles.klb", made("ec.klb"));
        directory.write(kCertificateFile, made("ec.pem"));
        {
            const LibrarySession library;
            expectOutcomeOf(observer, before + "sub\\toggles.klb", refused(kNotVerified));
        }
        directory.write("sub\\mosk.cert.pem", made("ec.pem"));
        const LibrarySession library;
        expectOutcomeOf(observer, before + "sub\\toggles.klb", kAccepted);
#endif
    });
}

} // namespace

} // namespace klb::test
