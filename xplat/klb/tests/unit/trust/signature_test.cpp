#include "trust/signature.h"

#include "support/failing_allocation.h"
#include "support/fake_platform.h"
#include "support/protected_samples.h"
#include "trust/certificate.h"
#include "trust/crypto_objects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include <openssl/err.h>
#include <openssl/pem.h>

namespace klb {
namespace {

constexpr const char* kPath = "C:\\data\\toggles.klb";
constexpr const char* kCertificatePath = "C:\\data\\mosk.cert.pem";

/// What verifying gave.
struct Verified {
    std::optional<std::string> text;
    std::string error;

    bool operator==(const Verified&) const = default;
};

const Verified kGood{test::kSampleDocument, ""};
const Verified kFailed{std::nullopt, "Verification failure\n"};

class VerifySignature : public testing::Test {
protected:
    VerifySignature() {
        initializeCryptoLibrary();
        ERR_clear_error();
        platform.files[kCertificatePath].bytes = test::kSignerCertificate;
    }

    Verified verified(std::string_view message) {
        Verified result;
        const std::optional<SecretBytes> text =
            verifySignature({message.begin(), message.end()}, kPath, certificate.get(),
                            platform.services(), result.error);
        if (text) {
            result.text.emplace(text->begin(), text->end());
        }
        return result;
    }

    test::FakePlatform platform;
    CertificatePtr certificate;
};

TEST_F(VerifySignature, GivesTheSignedBytes) {
    EXPECT_EQ(verified(test::kSignedDocument), kGood);
}

TEST_F(VerifySignature, UsesTheGivenCertificateAndReadsNoFile) {
    EXPECT_EQ(readCertificate(test::kSignerCertificate, certificate), nullptr);
    EXPECT_EQ(verified(test::kSignedDocument), kGood);
    EXPECT_EQ(platform.files[kCertificatePath].opened, 0);
}

TEST_F(VerifySignature, SaysWhyItFails) {
    platform.files.clear();
    EXPECT_EQ(verified(test::kSignedDocument), kFailed);
    EXPECT_EQ(verified(test::kSampleDocument),
              (Verified{std::nullopt, "Error reading S/MIME message\n"}));
}

TEST_F(VerifySignature, ACertificateFileThatCannotBeReadIsNotReported) {
    const auto verifyWith = [&](const test::FakeFile& file) {
        platform.files[kCertificatePath] = file;
        return verified(test::kSignedDocument);
    };
    const std::string pem = test::kSignerCertificate;
    EXPECT_EQ(verifyWith({.bytes = "", .claimedSize = {}}), kFailed);
    EXPECT_EQ(verifyWith({.bytes = "no certificate\n"}), kFailed);
    EXPECT_EQ(verifyWith({.bytes = pem.substr(0, pem.size() / 2)}), kFailed);
    EXPECT_EQ(verifyWith({.bytes = pem, .claimedSize = pem.size() + 1}), kFailed);
    EXPECT_EQ(verifyWith({.bytes = pem, .sizeUnknown = true}), kFailed);
}

TEST_F(VerifySignature, ACertificateFileMayHaveAMebibyte) {
    std::string& bytes = platform.files[kCertificatePath].bytes;
    bytes.resize(1024 * 1024, '\n');
    EXPECT_EQ(verified(test::kSignedDocument), kGood);

    bytes += '\n';
    EXPECT_EQ(verified(test::kSignedDocument), kFailed);
}

std::string textOf(PKCS7* message) {
    const StreamPtr output(BIO_new(BIO_s_mem()));
    EXPECT_EQ(SMIME_write_PKCS7(output.get(), message, nullptr, 0), 1);
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(output.get(), &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}

/// The signed document with its digest algorithm that many times.
std::string signedDocumentWithDigests(int digests) {
    const StreamPtr input(BIO_new_mem_buf(test::kSignedDocument, -1));
    const SignedDataPtr message(SMIME_read_PKCS7(input.get(), nullptr));
    STACK_OF(X509_ALGOR)* all = message->d.sign->md_algs;
    while (sk_X509_ALGOR_num(all) > digests) {
        X509_ALGOR_free(sk_X509_ALGOR_pop(all));
    }
    while (sk_X509_ALGOR_num(all) < digests) {
        sk_X509_ALGOR_push(all, X509_ALGOR_dup(sk_X509_ALGOR_value(all, 0)));
    }
    return textOf(message.get());
}

TEST_F(VerifySignature, RefusesAMessageWithoutDigestsOrWithMany) {
    for (const int digests : {1, 16, 0, 17, 50'000}) {
        SCOPED_TRACE(digests);
        const bool accepted = digests >= 1 && digests <= 16;
        EXPECT_EQ(verified(signedDocumentWithDigests(digests)), accepted ? kGood : kFailed);
    }
}

TEST_F(VerifySignature, RefusesADetachedMessageWithoutDigestsAndContent) {
    // The structure of the signed document without its digest and its content, which the first part
    // stands for.
    const StreamPtr input(BIO_new_mem_buf(test::kSignedDocument, -1));
    const SignedDataPtr message(SMIME_read_PKCS7(input.get(), nullptr));
    STACK_OF(X509_ALGOR)* digests = message->d.sign->md_algs;
    X509_ALGOR_free(sk_X509_ALGOR_pop(digests));
    ASN1_OCTET_STRING_free(message->d.sign->contents->d.data);
    message->d.sign->contents->d.data = nullptr;
    const StreamPtr armour(BIO_new(BIO_s_mem()));
    EXPECT_EQ(PEM_write_bio_PKCS7(armour.get(), message.get()), 1);
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(armour.get(), &bytes);
    const std::string pem(bytes, static_cast<std::size_t>(size));
    const std::size_t begin = pem.find('\n') + 1;
    const std::string base64 = pem.substr(begin, pem.find("-----END") - begin);
    EXPECT_EQ(
        verified(
            "MIME-Version: 1.0\nContent-Type: multipart/signed; "
            "protocol=\"application/x-pkcs7-signature\"; micalg=\"sha-256\"; boundary=\"part\"\n\n"
            "--part\n\n--part\nContent-Type: application/x-pkcs7-signature; name=\"smime.p7s\"\n"
            "Content-Transfer-Encoding: base64\n\n" +
            base64 + "\n--part--\n"),
        kFailed);
}

TEST_F(VerifySignature, RefusesSignedDataThatIsNotThere) {
    // The identifier of signed data in a sequence that ends behind it.
    EXPECT_EQ(
        verified(
            "MIME-Version: 1.0\nContent-Type: application/x-pkcs7-mime; smime-type=signed-data\n"
            "Content-Transfer-Encoding: base64\n\nMAsGCSqGSIb3DQEHAg==\n"),
        kFailed);
}

TEST_F(VerifySignature, ACertificateFileMayHaveTwoHundredEntries) {
    std::string pem;
    for (int i = 0; i < 200; ++i) {
        pem += test::kSignerCertificate;
    }
    platform.files[kCertificatePath].bytes = pem;
    EXPECT_EQ(verified(test::kSignedDocument), kGood);

    platform.files[kCertificatePath].bytes = pem + test::kSignerCertificate;
    EXPECT_EQ(verified(test::kSignedDocument), kFailed);
}

TEST_F(VerifySignature, EveryCertificateOfTheFileIsTrusted) {
    platform.files[kCertificatePath].bytes =
        std::string("comment\n") + test::kSignerCertificate + test::kSignerCertificate;
    EXPECT_EQ(verified(test::kSignedDocument), kGood);
}

TEST_F(VerifySignature, LeavesTheThreadsErrorQueueAsItWas) {
    for (const bool before : {false, true}) {
        if (before) {
            ERR_put_error(ERR_LIB_USER, 0, 42, "host", 1);
        }
        for (const char* content : {test::kSignedDocument, test::kSampleDocument}) {
            verified(content);
        }
        EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), before ? 42 : 0);
        EXPECT_EQ(ERR_get_error(), 0U);
    }
}

TEST_F(VerifySignature, SurvivesEveryFailedAllocationOfTheCryptoLibrary) {
    const std::string accepted[] = {
        "Can't create input bio mem buff\n",
        "Error reading S/MIME message\n",
        "Can't create output bio mem buff",
        "setup_verify error\n",
        "Error loading file: C:\\data\\mosk.cert.pem\nsetup_verify error\n",
        "Verification failure\n",
    };
    // What libcrypto sets up once and for all has to be there: it cannot be repeated.
    ASSERT_EQ(verified(test::kSignedDocument), kGood);
    int failures = 0;
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        Verified result;
        bool happened = false;
        {
            const test::FailingAllocation failure(n, test::MemorySource::Crypto);
            result = verified(test::kSignedDocument);
            happened = failure.happened();
        }
        if (result.text) {
            EXPECT_EQ(result, kGood);
        } else {
            ++failures;
            EXPECT_NE(std::find(std::begin(accepted), std::end(accepted), result.error),
                      std::end(accepted))
                << result.error;
        }
        if (!happened) {
            EXPECT_TRUE(result.text);
            break;
        }
    }
    EXPECT_GT(failures, 20);
}

TEST(CertificatePathFor, IsBesideTheToggleFile) {
    struct Case {
        const char* path;
        const char* expected;
    };
    const Case cases[] = {
        {"C:\\data\\toggles.json", "C:\\data\\mosk.cert.pem"},
        {"C:/data\\x/toggles.json", "C:/data\\x/mosk.cert.pem"},
        {"/etc/app/toggles.json", "/etc/app/mosk.cert.pem"},
        {"/etc/app\\toggles.json", "/etc/app\\mosk.cert.pem"},
        {"/toggles.json", "/mosk.cert.pem"},
        {"\\toggles.json", "\\mosk.cert.pem"},
        {"toggles.json", "\\mosk.cert.pem"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(certificatePathFor(c.path), c.expected);
    }
}

} // namespace
} // namespace klb
