#include "protected_files.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

const std::string kNotInitialised = "KLB_SetCertificateData: KLB_Init must be called first.";
const std::string kAlreadySet = "setCertificateData: certificate data has already been set.";
const std::string kTooLate = "setCertificateData: must be called before any registration routines.";
const std::string kNoCertificate =
    "setCertificateData: can't read certificate from the certificate data provided.";

void give(const std::string& pem) {
    KLB_SetCertificateData(pem.c_str());
}

/// Files that show which of the three states of checking the library is in.
class Files {
public:
    Files()
        : signed_(directory_.write("signed.klb", made("rsa.klb"))),
          bare_(directory_.write("bare.klb", made("json.klb"))) {}

    /// The signer is trusted.
    void expectTrusted(ErrorObserver& observer) const {
        expectOutcomeOf(observer, signed_, kAccepted);
    }
    /// Signatures are checked, and the signer is not trusted.
    void expectNotTrusted(ErrorObserver& observer) const {
        expectOutcomeOf(observer, signed_, refused(kNotVerified));
    }
    /// Signatures are not checked.
    void expectCheckingOff(ErrorObserver& observer) const {
        expectOutcomeOf(observer, bare_, kAccepted);
    }
    /// Signatures are checked, as a document without one shows.
    void expectCheckingOn(ErrorObserver& observer) const {
        expectOutcomeOf(observer, bare_, refused(kOtherComputer));
    }
    /// The signer is not trusted until its certificate lies beside the file.
    void putCertificateBeside() const {
        directory_.write(kCertificateFile, made("rsa.pem"));
    }

private:
    TempDirectory directory_;
    std::string signed_;
    std::string bare_;
};

TEST(SetCertificateData, BeforeInitialisationIsAnError) {
    inBothErrorModes([](ErrorObserver& observer) {
        for (const std::string& pem : {made("rsa.pem"), std::string("no certificate")}) {
            observer.expectError<std::domain_error>(kNotInitialised, [&] { give(pem); });
        }
        observer.expectError<std::domain_error>(kNotInitialised,
                                                [] { KLB_SetCertificateData(nullptr); });
        EXPECT_TRUE(lockIsFree());

        const Files files;
        const LibrarySession library;
        files.expectNotTrusted(observer);
    });
}

TEST(SetCertificateData, CertificateIsTrusted) {
    const Files files;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([] { give(made("rsa.pem")); });
        files.expectTrusted(observer);
    });
}

TEST(SetCertificateData, TextIsReadDuringTheCall) {
    const Files files;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        std::string pem = made("rsa.pem");
        observer.expectSilence([&] { give(pem); });
        pem.assign(pem.size(), '\0');
        files.expectTrusted(observer);
    });
}

TEST(SetCertificateData, TextEndsAtItsFirstNul) {
    const Files files;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        const std::string pem = std::string("\0", 1) + made("rsa.pem");
        observer.expectError<std::domain_error>(kNoCertificate, [&] { give(pem); });
        files.expectNotTrusted(observer);
    });
}

std::string withCrLf(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return result;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
    return text;
}

TEST(SetCertificateData, TakesThePemTextOfACertificate) {
    const std::string rsa = made("rsa.pem");
    const struct {
        const char* name;
        std::string text;
    } cases[] = {
        {"as openssl writes it", rsa},
        {"CR LF", withCrLf(rsa)},
        {"without its last line's end", rsa.substr(0, rsa.size() - 1)},
        {"text in front", "Certificate:\n    whose it is\n\n" + rsa},
        {"text behind", rsa + "and more\n"},
        {"garbage behind", rsa + "-----BEGIN CERTIFICATE-----\n!!!!\n"},
        {"another certificate behind", rsa + made("stranger.pem")},
        {"the same certificate behind", rsa + rsa},
        {"a key in front", made("rsa.key") + rsa},
        {"a request in front", made("leaf.csr") + rsa},
        {"a revocation list in front", made("ca.crl") + rsa},
        {"the old name of a certificate",
         replaced(rsa, " CERTIFICATE-----", " X509 CERTIFICATE-----")},
        {"a certificate with trust settings in front", made("trusted.pem") + rsa},
        {"a megabyte in front", std::string(1'000'000, '\n') + rsa},
    };
    const Files files;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectSilence([&] { give(c.text); });
            files.expectTrusted(observer);
        });
    }
}

TEST(SetCertificateData, RefusesTextWithoutACertificate) {
    const std::string rsa = made("rsa.pem");
    const struct {
        const char* name;
        std::string text;
    } cases[] = {
        {"empty", ""},
        {"a line's end", "\n"},
        {"words", "this is no certificate"},
        {"JSON", R"({"certificate":true})"},
        {"the certificate in DER", made("rsa.der")},
        {"a path", madePath("rsa.pem")},
        {"a key", made("rsa.key")},
        {"an encrypted key", made("encrypted-key.pem")},
        {"a certificate with trust settings, which has a name of its own", made("trusted.pem")},
        {"a request", made("leaf.csr")},
        {"a revocation list", made("ca.crl")},
        {"without its first line", rsa.substr(rsa.find('\n') + 1)},
        {"without its last line", rsa.substr(0, rsa.find("-----END"))},
        {"half", rsa.substr(0, rsa.size() / 2)},
        {"the first line alone", rsa.substr(0, rsa.find('\n') + 1)},
        {"nothing between its lines", "-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----\n"},
        {"no base64 between its lines",
         "-----BEGIN CERTIFICATE-----\n!!!!\n-----END CERTIFICATE-----\n"},
        {"no certificate between its lines",
         "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"},
        {"a line is missing", rsa.substr(0, 100) + rsa.substr(165)},
        {"another name at its end", replaced(rsa, "END CERTIFICATE", "END CERTIFICATES")},
        {"a broken certificate before a good one",
         "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n" + rsa},
        {"spaces in front of each line", replaced("\n" + rsa, "\n", "\n ")},
        {"a megabyte of words", replaced(std::string(100'000, 'x'), "x", "words and ")},
    };
    const Files files;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectError<std::domain_error>(kNoCertificate, [&] { give(c.text); });
            EXPECT_TRUE(lockIsFree());
            files.expectNotTrusted(observer);
        });
    }
}

TEST(SetCertificateData, OnlyTheFirstCertificateOfTheTextIsUsed) {
    inBothErrorModes([](ErrorObserver& observer) {
        const Files files;
        {
            const LibrarySession library;
            observer.expectSilence([] { give(made("stranger.pem") + made("rsa.pem")); });
            files.expectNotTrusted(observer);
        }
        const LibrarySession library;
        observer.expectSilence([] { give(made("rsa.pem") + made("stranger.pem")); });
        files.expectTrusted(observer);
    });
    expectOutcome(made("stranger.klb"), hostGives(made("rsa.pem") + made("stranger.pem")),
                  refused(kNotVerified));
}

TEST(SetCertificateData, SecondCallIsRefusedAndTheFirstCertificateStays) {
    const struct {
        const char* name;
        std::function<void()> call;
    } cases[] = {
        {"another certificate", [] { give(made("stranger.pem")); }},
        {"the same certificate", [] { give(made("rsa.pem")); }},
        {"no certificate", [] { give("no certificate"); }},
        {"empty", [] { give(""); }},
        {"null", [] { KLB_SetCertificateData(nullptr); }},
    };
    const Files files;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const auto secondCall = [&](const std::function<void(ErrorObserver&)>& expectation) {
                const LibrarySession library;
                observer.expectSilence([] { give(made("rsa.pem")); });
                observer.expectError<std::domain_error>(kAlreadySet, c.call);
                observer.expectError<std::domain_error>(kAlreadySet, c.call);
                EXPECT_TRUE(lockIsFree());
                expectation(observer);
            };
            secondCall([&](ErrorObserver& o) { files.expectTrusted(o); });
            secondCall([&](ErrorObserver& o) { files.expectCheckingOn(o); });
        });
    }
}

TEST(SetCertificateData, NullTurnsCheckingOff) {
    const Files files;
    files.putCertificateBeside();
    inBothErrorModes([&](ErrorObserver& observer) {
        {
            const LibrarySession library;
            observer.expectSilence([] { KLB_SetCertificateData(nullptr); });
            files.expectCheckingOff(observer);
        }
        const LibrarySession library;
        files.expectCheckingOn(observer);
    });
}

TEST(SetCertificateData, CallsBeforeTheCertificateIsSet) {
    enum class Checking { Trusted, NotTrusted, Off };
    const auto null = [](ErrorObserver& observer) {
        observer.expectSilence([] { KLB_SetCertificateData(nullptr); });
    };
    const auto certificate = [](ErrorObserver& observer) {
        observer.expectSilence([] { give(made("rsa.pem")); });
    };
    const auto garbage = [](ErrorObserver& observer) {
        observer.expectError<std::domain_error>(kNoCertificate, [] { give("no certificate"); });
    };
    const struct {
        const char* name;
        std::vector<std::function<void(ErrorObserver&)>> calls;
        Checking checking;
    } cases[] = {
        {"none", {}, Checking::NotTrusted},
        {"null", {null}, Checking::Off},
        {"null may be repeated", {null, null, null}, Checking::Off},
        {"text turns checking on again", {null, certificate}, Checking::Trusted},
        {"text that fails turns checking on again", {null, garbage}, Checking::NotTrusted},
        {"a failed read may be retried", {garbage, garbage, certificate}, Checking::Trusted},
        {"null after a failed read", {garbage, null}, Checking::Off},
        {"text after both", {null, garbage, null, certificate}, Checking::Trusted},
    };
    const Files files;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const auto afterTheCalls = [&](const std::function<void()>& expectation) {
                const LibrarySession library;
                for (const auto& call : c.calls) {
                    call(observer);
                }
                expectation();
            };
            switch (c.checking) {
            case Checking::Trusted:
                afterTheCalls([&] { files.expectTrusted(observer); });
                afterTheCalls([&] { files.expectCheckingOn(observer); });
                break;
            case Checking::NotTrusted:
                afterTheCalls([&] { files.expectNotTrusted(observer); });
                afterTheCalls([&] { files.expectCheckingOn(observer); });
                break;
            case Checking::Off:
                afterTheCalls([&] { files.expectCheckingOff(observer); });
                break;
            }
        });
    }
}

TEST(SetCertificateData, CertificateThatCouldNotBeReadLeavesTheFileBesideInForce) {
    const Files files;
    files.putCertificateBeside();
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectError<std::domain_error>(kNoCertificate, [] { give("no certificate"); });
        files.expectTrusted(observer);
    });
}

TEST(SetCertificateData, IsTooLateAfterARegistration) {
    const TempDirectory directory;
    const struct {
        const char* name;
        std::function<void(ErrorObserver&)> registration;
    } cases[] = {
        {"toggle file",
         [&](ErrorObserver& o) {
             o.expectSilence([&] {
                 registerPlainFile("core", directory.write("core.json", featuresFile("")));
             });
         }},
        {"missing toggle file",
         [&](ErrorObserver& o) {
             o.expectSilence([&] { registerProtectedFile(directory.pathOf("missing.klb")); });
         }},
        {"refused toggle file",
         [&](ErrorObserver& o) {
             const std::string path = directory.write("unsigned.klb", made("json.klb"));
             o.expectError<std::domain_error>(loadErrorText(kOtherComputer, path),
                                              [&] { registerProtectedFile(path); });
         }},
        {"toggle",
         [](ErrorObserver& o) {
             o.expectSilence([] { KLB_RegisterToggle("/a", false, "core"); });
         }},
        {"dynamic toggle",
         [](ErrorObserver& o) {
             o.expectSilence([] { KLB_RegisterDynamicToggle("/a", false, "core"); });
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            c.registration(observer);
            for (const char* text : {"no certificate", ""}) {
                observer.expectError<std::domain_error>(kTooLate, [&] { give(text); });
            }
            observer.expectError<std::domain_error>(kTooLate, [] { give(made("rsa.pem")); });
            observer.expectError<std::domain_error>(kTooLate,
                                                    [] { KLB_SetCertificateData(nullptr); });
            EXPECT_TRUE(lockIsFree());
        });
    }
}

TEST(SetCertificateData, CallThatCameTooLateChangesNothing) {
    const Files files;
    inBothErrorModes([&](ErrorObserver& observer) {
        const auto afterTheCall = [&](const std::function<void()>& call,
                                      const std::function<void()>& expectation) {
            const LibrarySession library;
            KLB_RegisterToggle("/first", false, "core");
            observer.expectError<std::domain_error>(kTooLate, call);
            expectation();
        };
        afterTheCall([] { give(made("rsa.pem")); }, [&] { files.expectNotTrusted(observer); });
        afterTheCall([] { KLB_SetCertificateData(nullptr); },
                     [&] { files.expectCheckingOn(observer); });
    });
}

TEST(SetCertificateData, SetAndTooLateIsReportedAsSet) {
    inBothErrorModes([](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([] {
            give(made("rsa.pem"));
            KLB_RegisterToggle("/first", false, "core");
        });
        observer.expectError<std::domain_error>(kAlreadySet, [] { give(made("rsa.pem")); });
        observer.expectError<std::domain_error>(kAlreadySet,
                                                [] { KLB_SetCertificateData(nullptr); });
    });
}

TEST(SetCertificateData, WhatRegistersNothingIsNotTooEarly) {
    const Files files;
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            KLB_IsToggleFileRegistered("core");
            KLB_IsToggleRegistered("/a");
        });
        observer.expectError<std::invalid_argument>(
            "registerToggleFile: toggleFileType is an unknown toggle file type.",
            [] { KLB_RegisterToggleFile(KLB_ToggleFileType_Invalid, "core", "core.json"); });
        observer.expectError<std::invalid_argument>(
            "registerToggleFile: toggleFile cannot be empty.",
            [] { registerProtectedFile("", "core"); });
        observer.expectError<std::invalid_argument>(
            "registerToggle: toggleFileToken cannot be NULL.",
            [] { KLB_RegisterToggle("/a", false, nullptr); });
        observer.expectSilence([] { give(made("rsa.pem")); });
        files.expectTrusted(observer);
    });
}

TEST(SetCertificateData, EndsWithTheSession) {
    const Files files;
    inBothErrorModes([&](ErrorObserver& observer) {
        {
            const LibrarySession library;
            observer.expectSilence([] { give(made("rsa.pem")); });
            observer.expectSilence([] { KLB_Init("Another", false); });
            observer.expectError<std::domain_error>(kAlreadySet, [] { give(made("rsa.pem")); });
        }
        {
            const LibrarySession library;
            files.expectNotTrusted(observer);
        }
        {
            const LibrarySession library;
            observer.expectSilence([] { give(made("rsa.pem")); });
            files.expectTrusted(observer);
        }
        {
            const LibrarySession library;
            observer.expectSilence([] { KLB_SetCertificateData(nullptr); });
        }
        const LibrarySession library;
        files.expectCheckingOn(observer);
    });
}

TEST(SetCertificateData, OneCertificateServesAllFiles) {
    const TempDirectory directory;
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        observer.expectSilence([] { give(made("rsa.pem")); });
        for (int i = 0; i < 20; ++i) {
            const std::string token = "token" + std::to_string(i);
            const std::string path = directory.write(token, made(i % 2 ? "rsa.klb" : "ec.klb"));
            if (i % 2) {
                observer.expectSilence([&] { registerProtectedFile(path, token.c_str()); });
            } else {
                observer.expectError<std::domain_error>(loadErrorText(kNotVerified, path), [&] {
                    registerProtectedFile(path, token.c_str());
                });
            }
        }
        observer.expectSilence([] { expectToggles(true, "token19"); });
    });
}

} // namespace

} // namespace klb::test
