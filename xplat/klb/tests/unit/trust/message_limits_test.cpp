#include "trust/message_limits.h"

#include "support/fake_platform.h"
#include "support/hostile_files.h"
#include "support/protected_samples.h"
#include "trust/certificate.h"
#include "trust/crypto_objects.h"
#include "trust/signature.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace klb {
namespace {

constexpr const char* kCertificatePath = "C:\\data\\mosk.cert.pem";
constexpr const char* kNotVerified = "Verification failure\n";

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const noexcept {
        EVP_PKEY_free(key);
    }
};
using EvpKeyPtr = std::unique_ptr<EVP_PKEY, KeyDeleter>;

CertificatePtr decoded(const std::string& certificate) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(certificate.data());
    return CertificatePtr(d2i_X509(nullptr, &bytes, static_cast<long>(certificate.size())));
}

std::string bytesOf(BIO* stream) {
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(stream, &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}

/// The signed document as it is after a change that leaves the signature good.
std::string signedDocumentWith(const std::function<void(PKCS7* message)>& change) {
    const StreamPtr input(BIO_new_mem_buf(test::kSignedDocument, -1));
    const SignedDataPtr message(SMIME_read_PKCS7(input.get(), nullptr));
    change(message.get());
    const StreamPtr output(BIO_new(BIO_s_mem()));
    EXPECT_EQ(SMIME_write_PKCS7(output.get(), message.get(), nullptr, 0), 1);
    return bytesOf(output.get());
}

std::string signedDocumentBeside(const std::string& certificate, int count = 1) {
    return signedDocumentWith([&](PKCS7* message) {
        const CertificatePtr other = decoded(certificate);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(PKCS7_add_certificate(message, other.get()), 1);
        }
    });
}

std::string signedDocumentWithSigners(int count) {
    return signedDocumentWith([&](PKCS7* message) {
        auto* signer = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(message), 0);
        for (int i = 1; i < count; ++i) {
            auto* copy = static_cast<PKCS7_SIGNER_INFO*>(
                ASN1_item_dup(ASN1_ITEM_rptr(PKCS7_SIGNER_INFO), signer));
            EXPECT_EQ(PKCS7_add_signer(message, copy), 1);
        }
    });
}

/// The signed document beside a certificate that makes the message, its content left out, so many
/// bytes long.
std::string signedDocumentOfSize(std::size_t size) {
    const auto sizeWith = [](const std::string& certificate) {
        std::size_t encodedSize = 0;
        signedDocumentWith([&](PKCS7* message) {
            PKCS7_add_certificate(message, decoded(certificate).get());
            encodedSize = static_cast<std::size_t>(i2d_PKCS7(message, nullptr));
        });
        // The content is an element of its own with a header of two bytes.
        return encodedSize - std::string_view(test::kSampleDocument).size() - 2;
    };
    const std::size_t around = sizeWith(test::certificateOfSize(size)) - size;
    const std::string certificate = test::certificateOfSize(size - around);
    EXPECT_EQ(sizeWith(certificate), size);
    return signedDocumentBeside(certificate);
}

/// The signed document with its headers grown to so many bytes, the empty line behind them left
/// out.
std::string signedDocumentWithHeaders(std::size_t size) {
    std::string text = test::kSignedDocument;
    const std::size_t headers = text.find("\n\n") + 1;
    const std::size_t firstLine = text.find('\n') + 1;
    std::string added;
    while (added.size() < size - headers) {
        added += "X: y\n";
    }
    added.resize(size - headers - 1, 'y');
    return text.insert(firstLine, added + '\n');
}

class MessageLimits : public testing::Test {
protected:
    MessageLimits() {
        initializeCryptoLibrary();
        platform.files[kCertificatePath].bytes = test::kSignerCertificate;
    }

    /// The load error; empty when the message is accepted.
    std::string errorOf(std::string_view message) {
        std::string error;
        const std::optional<SecretBytes> text =
            verifySignature({message.begin(), message.end()}, "C:\\data\\toggles.klb", nullptr,
                            platform.services(), error);
        EXPECT_EQ(text.has_value(), error.empty());
        return error;
    }

    test::FakePlatform platform;
};

TEST_F(MessageLimits, LetAsManyCertificatesAndSignersPassAsAnyoneHas) {
    const struct {
        const char* name;
        std::string message;
        const char* error;
    } cases[] = {
        {"64 certificates", signedDocumentBeside(test::certificateOfSize(1000), 63), ""},
        {"65 certificates", signedDocumentBeside(test::certificateOfSize(1000), 64), kNotVerified},
        {"6 signers", signedDocumentWithSigners(6), ""},
        {"7 signers", signedDocumentWithSigners(7), kNotVerified},
        {"128 KiB", signedDocumentOfSize(128 * 1024), ""},
        {"a byte more", signedDocumentOfSize(128 * 1024 + 1), kNotVerified},
        {"headers of 16 KiB", signedDocumentWithHeaders(16 * 1024), ""},
        {"a byte more of headers", signedDocumentWithHeaders(16 * 1024 + 1), kNotVerified},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(errorOf(c.message), c.error);
    }
}

TEST_F(MessageLimits, RefuseACertificateThatTakesLongBesideTheSigners) {
    const struct {
        const char* name;
        std::string certificate;
        const char* error;
    } cases[] = {
        {"two relative distribution points", test::certificateWithRelativePoints(2), ""},
        {"three of them", test::certificateWithRelativePoints(3), kNotVerified},
        {"a key on a curve of its own", test::certificateOnCurveOfItsOwn(), kNotVerified},
        {"32 names of its issuer", test::certificateWithIssuerNames(32), ""},
        {"33 names of its issuer", test::certificateWithIssuerNames(33), kNotVerified},
        {"32 names, 16 constraints of names", test::certificateWithNames(8, 24, 16), ""},
        {"another entry of its name", test::certificateWithNames(9, 24, 16), kNotVerified},
        {"another of its other names", test::certificateWithNames(8, 25, 16), kNotVerified},
        {"another constraint of names", test::certificateWithNames(8, 24, 17), kNotVerified},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(errorOf(signedDocumentBeside(c.certificate)), c.error);
        platform.files[kCertificatePath].bytes =
            test::kSignerCertificate + test::pemOf(c.certificate);
        EXPECT_EQ(errorOf(test::kSignedDocument), c.error);
        platform.files[kCertificatePath].bytes = test::kSignerCertificate;
    }
}

TEST_F(MessageLimits, LeaveTheSizeOfTheContentAlone) {
    EXPECT_EQ(fitnessOfMessage(test::messageInPieces(1'000'000)), Fitness::kFit);
}

TEST_F(MessageLimits, TakeAMissingContentForNone) {
    // 30 80 content type 00 00: as tools that do not know the size beforehand write it.
    std::string message = test::messageInPieces(0);
    const std::string_view content("\xA0\x04\x24\x80\0\0", 6);
    const std::size_t place = message.find(content);
    ASSERT_NE(place, std::string::npos);
    message.replace(place - 13, 13 + content.size(),
                    "\x30\x80" + message.substr(place - 11, 11) + std::string("\0\0\0\0", 4));
    EXPECT_EQ(fitnessOfMessage(message), Fitness::kFit);
}

TEST_F(MessageLimits, FitDocumentsOfEveryShapeInDetachedMessages) {
    const std::string headers = "MIME-Version: 1.0\nContent-Type: multipart/signed; "
                                "protocol=\"application/x-pkcs7-signature\"; "
                                "boundary=\"----0A1B\"\n\npreamble -- \n-- \n";
    const std::string signature = "Content-Type: application/x-pkcs7-signature\n\nAAAA\n";
    const std::string contents[] = {
        "",
        "{\n" + std::string(1'000'000, ' ') + "\n}",
        std::string(1023, 'x') + "--primary" + std::string(100'000, 'y'),
        std::string(100'000, '-'),
        std::string("--comment\n--comment\n") + std::string(20'000, 'x'),
    };
    for (const std::string& content : contents) {
        for (const std::string_view lineEnd : {"\n", "\r\n", "\r\r\n"}) {
            std::string text = headers + "------0A1B\n" + content + "\n------0A1B\n" + signature +
                               "\n------0A1B--\n\n";
            for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;
                 at += lineEnd.size()) {
                text.replace(at, 1, lineEnd);
            }
            EXPECT_EQ(fitnessOfText(text), Fitness::kFit);
        }
    }
}

TEST_F(MessageLimits, FindTheSignaturesHeadersWhereverLibcryptoFindsThem) {
    const std::string manyHeaders = [] {
        std::string all;
        while (all.size() <= 16 * 1024) {
            all += "a:\n";
        }
        return all;
    }();
    const struct {
        const char* name;
        std::string parameter;
        std::string boundary;
    } cases[] = {
        {"plain", "boundary=part", "part"},
        {"quoted", "boundary=\"part\"", "part"},
        {"upper case", "BounDary=part", "part"},
        {"quoted name", " \"boundary\" = part", "part"},
        {"with a space", "boundary=\"pa rt\"", "pa rt"},
        {"beginning with a space", "boundary=\" part\"", " part"},
        {"with a comment", "boundary=(x;y)z", "(x;y)z"},
        {"one of several", "boundary=no; boundary=part", "part"},
        {"in a long line", std::string(2000, 'x') + ";boundary=part", "part"},
        {"one letter", "boundary=p", "p"},
    };
    for (const auto& c : cases) {
        for (const std::size_t before : {std::size_t{0}, std::size_t{1023}}) {
            SCOPED_TRACE(c.name);
            const std::string line = "--" + c.boundary + "\n";
            const std::string text = "MIME-Version: 1.0\nContent-Type: multipart/signed; " +
                                     c.parameter + "\n\n" + line + std::string(before, 'x') + line +
                                     manyHeaders + "\nAAAA\n" + line;
            EXPECT_EQ(fitnessOfText(text), Fitness::kTooLarge);
        }
    }
}

TEST_F(MessageLimits, FindNoEndOfHeadersWhereLibcryptoFindsNone) {
    const std::string type = "MIME-Version: 1.0\nContent-Type: multipart/signed; boundary=b\n";
    const std::string headers = [] {
        std::string all;
        while (all.size() <= 16 * 1024) {
            all += "a:\n";
        }
        return all;
    }();
    const std::string part = "\n--b\n" + headers + "\nAAAA\n--b--\n";
    // The rest of a line of 1,023 characters is an empty line to libcrypto.
    EXPECT_EQ(fitnessOfText(type + std::string(1023, 'x') + "\n--b\n{}" + part),
              Fitness::kTooLarge);
    // A piece of nothing but carriage returns is no line of a part.
    EXPECT_EQ(fitnessOfText(type + "\n--b\n{}\n--b\n" + std::string(1023, '\r') + headers +
                            "\nAAAA\n--b--\n"),
              Fitness::kTooLarge);
}

TEST_F(MessageLimits, LookAtTheCurvesOfDamagedMessagesToo) {
    EXPECT_EQ(fitnessOfMessage(test::damagedMessageWithKeyOnCurveOfItsOwn()), Fitness::kTooLarge);
}

TEST_F(MessageLimits, CallADamagedTextUnreadable) {
    const std::string text(20'000, 'x');
    EXPECT_EQ(errorOf("MIME-Version: 1.0\n" + text), "Error reading S/MIME message\n");
    EXPECT_EQ(errorOf("MIME-Version: 1.0\rContent-Type: x\r\r" + text),
              "Error reading S/MIME message\n");
    EXPECT_EQ(fitnessOfMessage(std::string(1'000'000, 'x')), Fitness::kUnreadable);
    // The empty line behind the headers is lost.
    const std::string lines = [] {
        std::string all;
        while (all.size() < 100'000) {
            all += "TWFueSBoYW5kcyBtYWtlIGxpZ2h0IHdvcms=\n";
        }
        return all;
    }();
    for (const char* line : {"", " \n", "\t\n"}) {
        EXPECT_EQ(errorOf("MIME-Version: 1.0\nContent-Type: application/x-pkcs7-mime\n" +
                          std::string(line) + lines + "\n"),
                  "Error reading S/MIME message\n");
    }
}

/// An authority or signer, made by libcrypto.
struct Holder {
    EvpKeyPtr key;
    CertificatePtr certificate;
};

/// One that an authority issued, or that issued itself.
Holder makeHolder(const std::string& name, const Holder* issuer) {
    Holder holder{EvpKeyPtr(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256")),
                  CertificatePtr(X509_new())};
    X509* const certificate = holder.certificate.get();
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    const Holder& signer = issuer != nullptr ? *issuer : holder;
    X509_set_issuer_name(certificate, X509_get_subject_name(signer.certificate.get()));
    X509_set_pubkey(certificate, holder.key.get());
    BASIC_CONSTRAINTS authority{};
    authority.ca = 1;
    X509_add1_ext_i2d(certificate, NID_basic_constraints, &authority, 1, 0);
    EXPECT_NE(X509_sign(certificate, signer.key.get(), EVP_sha256()), 0);
    return holder;
}

TEST_F(MessageLimits, LetFewAuthoritiesStandBetweenSignersAndTheTrustedOne) {
    const struct {
        int signers;
        int authorities;
        const char* error;
    } cases[] = {{1, 8, ""}, {1, 9, kNotVerified}, {2, 4, ""}, {2, 5, kNotVerified},
                 {4, 1, ""}, {4, 2, kNotVerified}, {6, 0, ""}, {6, 1, kNotVerified}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.signers) + " signers, " + std::to_string(c.authorities) +
                     " authorities");
        std::vector<Holder> chain;
        chain.push_back(makeHolder("root", nullptr));
        for (int i = 0; i <= c.authorities; ++i) {
            chain.push_back(makeHolder("holder " + std::to_string(i), &chain.back()));
        }
        const StreamPtr pem(BIO_new(BIO_s_mem()));
        PEM_write_bio_X509(pem.get(), chain.front().certificate.get());
        platform.files[kCertificatePath].bytes = bytesOf(pem.get());

        const StreamPtr content(BIO_new_mem_buf(test::kSampleDocument, -1));
        const SignedDataPtr message(
            PKCS7_sign(nullptr, nullptr, nullptr, content.get(), PKCS7_BINARY | PKCS7_PARTIAL));
        for (int i = 0; i < c.signers; ++i) {
            PKCS7_sign_add_signer(message.get(), chain.back().certificate.get(),
                                  chain.back().key.get(), EVP_sha256(),
                                  i == 0 ? PKCS7_BINARY : PKCS7_BINARY | PKCS7_NOCERTS);
        }
        for (std::size_t i = 1; i + 1 < chain.size(); ++i) {
            PKCS7_add_certificate(message.get(), chain[i].certificate.get());
        }
        PKCS7_final(message.get(), content.get(), PKCS7_BINARY);
        const StreamPtr text(BIO_new(BIO_s_mem()));
        SMIME_write_PKCS7(text.get(), message.get(), nullptr, 0);
        EXPECT_EQ(errorOf(bytesOf(text.get())), c.error);
    }
}

TEST_F(MessageLimits, DoNotDecodeKeysInTheCertificateFile) {
    for (const char* type : {"PRIVATE KEY", "RSA PRIVATE KEY", "EC PRIVATE KEY", "ANYTHING"}) {
        platform.files[kCertificatePath].bytes = "-----BEGIN " + std::string(type) +
                                                 "-----\nAAAA\n-----END " + type + "-----\n" +
                                                 test::kSignerCertificate;
        EXPECT_EQ(errorOf(test::kSignedDocument), "");
    }
}

TEST_F(MessageLimits, RefuseEveryHostileShape) {
    for (const test::HostileShape& shape : test::hostileShapes()) {
        SCOPED_TRACE(shape.name);
        const test::HostileFiles files = shape.make(140 * 1024, {});
        platform.files[kCertificatePath].bytes = files.certificates;
        EXPECT_NE(errorOf(files.message), "");
    }
}

} // namespace
} // namespace klb
