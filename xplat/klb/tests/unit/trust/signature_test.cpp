#include "trust/signature.h"

#include "support/failing_allocation.h"
#include "support/fake_platform.h"
#include "support/protected_samples.h"
#include "trust/certificate.h"
#include "trust/crypto_library.h"
#include "trust/crypto_objects.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <openssl/err.h>
#include <openssl/pem.h>

namespace klb {
namespace {

constexpr const char* kPath = "C:\\data\\toggles.klb";
constexpr const char* kCertificatePath = "C:\\data\\mosk.cert.pem";

class VerifySignature : public testing::Test {
protected:
    VerifySignature() {
        initializeCryptoLibrary();
        ERR_clear_error();
        registry.platform = &platform.services();
        platform.files[kCertificatePath].bytes = test::kSignerCertificate;
    }

    static ToggleFileRecord recordOf(std::string_view content) {
        ToggleFileRecord record;
        record.type = KLB_ToggleFileType_Unsupported;
        record.path = kPath;
        record.content.assign(content.begin(), content.end());
        return record;
    }

    static std::string contentOf(const ToggleFileRecord& record) {
        return {record.content.begin(), record.content.end()};
    }

    test::FakePlatform platform;
    Registry registry;
};

TEST_F(VerifySignature, LeavesTheSignedBytes) {
    ToggleFileRecord record = recordOf(test::kSignedDocument);
    EXPECT_TRUE(verifySignature(record, platform.services()));
    EXPECT_EQ(contentOf(record), test::kSampleDocument);
    EXPECT_EQ(record.error, "");
}

TEST_F(VerifySignature, UsesTheRecordsCertificateAndReadsNoFile) {
    setCertificateData(registry, test::kSignerCertificate);
    ASSERT_NE(registry.certificate, nullptr);
    ToggleFileRecord record = recordOf(test::kSignedDocument);
    record.certificate = registry.certificate.get();
    EXPECT_TRUE(verifySignature(record, platform.services()));
    EXPECT_EQ(platform.files[kCertificatePath].opened, 0);
}

TEST_F(VerifySignature, LeavesTheContentWhenItFails) {
    platform.files.clear();
    struct Case {
        const char* name;
        std::string content;
        const char* error;
    };
    const Case cases[] = {
        {"no certificate", test::kSignedDocument, "Verification failure\n"},
        {"not signed", test::kSampleDocument, "Error reading S/MIME message\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ToggleFileRecord record = recordOf(c.content);
        EXPECT_FALSE(verifySignature(record, platform.services()));
        EXPECT_EQ(record.error, c.error);
        EXPECT_EQ(contentOf(record), c.content);
    }
}

TEST_F(VerifySignature, ACertificateFileThatCannotBeReadIsNotReported) {
    const auto verifyWith = [&](const test::FakeFile& file) {
        platform.files[kCertificatePath] = file;
        ToggleFileRecord record = recordOf(test::kSignedDocument);
        EXPECT_FALSE(verifySignature(record, platform.services()));
        return record.error;
    };
    const std::string pem = test::kSignerCertificate;
    EXPECT_EQ(verifyWith({.bytes = "", .claimedSize = {}}), "Verification failure\n");
    EXPECT_EQ(verifyWith({.bytes = "no certificate\n"}), "Verification failure\n");
    EXPECT_EQ(verifyWith({.bytes = pem.substr(0, pem.size() / 2)}), "Verification failure\n");
    EXPECT_EQ(verifyWith({.bytes = pem, .claimedSize = pem.size() + 1}), "Verification failure\n");
    EXPECT_EQ(verifyWith({.bytes = pem, .sizeUnknown = true}), "Verification failure\n");
}

TEST_F(VerifySignature, ACertificateFileMayHaveAMebibyte) {
    std::string& bytes = platform.files[kCertificatePath].bytes;
    bytes.resize(1024 * 1024, '\n');
    ToggleFileRecord record = recordOf(test::kSignedDocument);
    EXPECT_TRUE(verifySignature(record, platform.services()));

    bytes += '\n';
    ToggleFileRecord other = recordOf(test::kSignedDocument);
    EXPECT_FALSE(verifySignature(other, platform.services()));
    EXPECT_EQ(other.error, "Verification failure\n");
}

std::string textOf(PKCS7* message) {
    const CryptoStreamPtr output(BIO_new(BIO_s_mem()));
    EXPECT_EQ(SMIME_write_PKCS7(output.get(), message, nullptr, 0), 1);
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(output.get(), &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}

/// The signed document with its digest algorithm that many times.
std::string signedDocumentWithDigests(int digests) {
    const CryptoStreamPtr input(BIO_new_mem_buf(test::kSignedDocument, -1));
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
        ToggleFileRecord record = recordOf(signedDocumentWithDigests(digests));
        EXPECT_EQ(verifySignature(record, platform.services()), accepted);
        EXPECT_EQ(record.error, accepted ? "" : "Verification failure\n");
    }
}

TEST_F(VerifySignature, RefusesADetachedMessageWithoutDigestsAndContent) {
    // The structure of the signed document without its digest and its content, which the first part
    // stands for.
    const CryptoStreamPtr input(BIO_new_mem_buf(test::kSignedDocument, -1));
    const SignedDataPtr message(SMIME_read_PKCS7(input.get(), nullptr));
    STACK_OF(X509_ALGOR)* digests = message->d.sign->md_algs;
    X509_ALGOR_free(sk_X509_ALGOR_pop(digests));
    ASN1_OCTET_STRING_free(message->d.sign->contents->d.data);
    message->d.sign->contents->d.data = nullptr;
    const CryptoStreamPtr armour(BIO_new(BIO_s_mem()));
    EXPECT_EQ(PEM_write_bio_PKCS7(armour.get(), message.get()), 1);
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(armour.get(), &bytes);
    const std::string pem(bytes, static_cast<std::size_t>(size));
    const std::size_t begin = pem.find('\n') + 1;
    const std::string base64 = pem.substr(begin, pem.find("-----END") - begin);
    ToggleFileRecord record = recordOf(
        "MIME-Version: 1.0\nContent-Type: multipart/signed; "
        "protocol=\"application/x-pkcs7-signature\"; micalg=\"sha-256\"; boundary=\"part\"\n\n"
        "--part\n\n--part\nContent-Type: application/x-pkcs7-signature; name=\"smime.p7s\"\n"
        "Content-Transfer-Encoding: base64\n\n" +
        base64 + "\n--part--\n");
    EXPECT_FALSE(verifySignature(record, platform.services()));
    EXPECT_EQ(record.error, "Verification failure\n");
}

TEST_F(VerifySignature, RefusesSignedDataThatIsNotThere) {
    // The identifier of signed data in a sequence that ends behind it.
    ToggleFileRecord record = recordOf(
        "MIME-Version: 1.0\nContent-Type: application/x-pkcs7-mime; smime-type=signed-data\n"
        "Content-Transfer-Encoding: base64\n\nMAsGCSqGSIb3DQEHAg==\n");
    EXPECT_FALSE(verifySignature(record, platform.services()));
    EXPECT_EQ(record.error, "Verification failure\n");
}

TEST_F(VerifySignature, ACertificateFileMayHaveTwoHundredEntries) {
    std::string pem;
    for (int i = 0; i < 200; ++i) {
        pem += test::kSignerCertificate;
    }
    platform.files[kCertificatePath].bytes = pem;
    ToggleFileRecord record = recordOf(test::kSignedDocument);
    EXPECT_TRUE(verifySignature(record, platform.services()));

    platform.files[kCertificatePath].bytes = pem + test::kSignerCertificate;
    ToggleFileRecord other = recordOf(test::kSignedDocument);
    EXPECT_FALSE(verifySignature(other, platform.services()));
    EXPECT_EQ(other.error, "Verification failure\n");
}

TEST_F(VerifySignature, EveryCertificateOfTheFileIsTrusted) {
    platform.files[kCertificatePath].bytes =
        std::string("comment\n") + test::kSignerCertificate + test::kSignerCertificate;
    ToggleFileRecord record = recordOf(test::kSignedDocument);
    EXPECT_TRUE(verifySignature(record, platform.services()));
}

TEST_F(VerifySignature, LeavesTheThreadsErrorQueueAsItWas) {
    for (const bool before : {false, true}) {
        if (before) {
            ERR_put_error(ERR_LIB_USER, 0, 42, "host", 1);
        }
        for (const char* content : {test::kSignedDocument, test::kSampleDocument}) {
            ToggleFileRecord record = recordOf(content);
            verifySignature(record, platform.services());
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
    // What the crypto library sets up once and for all has to be there: it cannot be repeated.
    ToggleFileRecord first = recordOf(test::kSignedDocument);
    ASSERT_TRUE(verifySignature(first, platform.services()));
    int failures = 0;
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        ToggleFileRecord record = recordOf(test::kSignedDocument);
        bool good = false;
        bool happened = false;
        {
            const test::FailingAllocation failure(n, test::MemorySource::Crypto);
            good = verifySignature(record, platform.services());
            happened = failure.happened();
        }
        if (good) {
            EXPECT_EQ(contentOf(record), test::kSampleDocument);
            EXPECT_EQ(record.error, "");
        } else {
            ++failures;
            EXPECT_EQ(contentOf(record), test::kSignedDocument);
            EXPECT_NE(std::find(std::begin(accepted), std::end(accepted), record.error),
                      std::end(accepted))
                << record.error;
        }
        if (!happened) {
            EXPECT_TRUE(good);
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
