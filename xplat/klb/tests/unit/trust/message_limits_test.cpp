#include "trust/message_limits.h"

#include "support/fake_platform.h"
#include "support/hostile_files.h"
#include "support/protected_samples.h"
#include "trust/crypto_library.h"
#include "trust/crypto_objects.h"
#include "trust/signature.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <openssl/bio.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

namespace klb {
namespace {

constexpr const char* kCertificatePath = "C:\\data\\mosk.cert.pem";
constexpr const char* kNotVerified = "Verification failure\n";

struct CertificateDeleter {
    void operator()(X509* certificate) const noexcept {
        X509_free(certificate);
    }
};
using X509Ptr = std::unique_ptr<X509, CertificateDeleter>;

X509Ptr decoded(const std::string& certificate) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(certificate.data());
    return X509Ptr(d2i_X509(nullptr, &bytes, static_cast<long>(certificate.size())));
}

std::string bytesOf(BIO* stream) {
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(stream, &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}

/// The signed document as it is after a change that leaves the signature good.
std::string signedDocumentWith(const std::function<void(PKCS7* message)>& change) {
    const CryptoStreamPtr input(BIO_new_mem_buf(test::kSignedDocument, -1));
    const SignedDataPtr message(SMIME_read_PKCS7(input.get(), nullptr));
    change(message.get());
    const CryptoStreamPtr output(BIO_new(BIO_s_mem()));
    EXPECT_EQ(SMIME_write_PKCS7(output.get(), message.get(), nullptr, 0), 1);
    return bytesOf(output.get());
}

std::string signedDocumentBeside(const std::string& certificate, int count = 1) {
    return signedDocumentWith([&](PKCS7* message) {
        const X509Ptr other = decoded(certificate);
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
        ToggleFileRecord record;
        record.type = KLB_ToggleFileType_Unsupported;
        record.path = "C:\\data\\toggles.klb";
        record.content.assign(message.begin(), message.end());
        const bool good = verifySignature(record, platform.services());
        EXPECT_EQ(good, record.error.empty());
        return record.error;
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
        {"64 signers", signedDocumentWithSigners(64), ""},
        {"65 signers", signedDocumentWithSigners(65), kNotVerified},
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
    EXPECT_TRUE(isFitToDecode(test::messageInPieces(1'000'000)));
    const std::string text = "{\n" + std::string(1'000'000, ' ') + "\n}\n";
    EXPECT_TRUE(hasShortHeaders("MIME-Version: 1.0\n\n--part\n" + text +
                                "--part\nContent-Type: x\n\nAAAA\n--part--\n"));
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
