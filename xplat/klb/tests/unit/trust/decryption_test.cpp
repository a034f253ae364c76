#include "trust/decryption.h"

#include "support/failing_allocation.h"
#include "support/protected_samples.h"
#include "support/sealed_envelope.h"
#include "trust/crypto_library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <memory>
#include <string>

#include <openssl/err.h>
#include <openssl/evp.h>

namespace klb {
namespace {

ToggleFileRecord recordOf(std::string_view content, bool skipSignatureCheck) {
    initializeCryptoLibrary();
    ToggleFileRecord record;
    record.type = KLB_ToggleFileType_Unsupported;
    record.content.assign(content.begin(), content.end());
    record.skipSignatureCheck = skipSignatureCheck;
    return record;
}

std::string contentOf(const ToggleFileRecord& record) {
    return {record.content.begin(), record.content.end()};
}

TEST(DecryptContent, ReplacesTheEnvelopeByItsPlainText) {
    ToggleFileRecord bare = recordOf(test::kEncryptedDocument, true);
    EXPECT_TRUE(decryptContent(bare, "System"));
    EXPECT_EQ(contentOf(bare), test::kSampleDocument);
    EXPECT_EQ(bare.error, "");

    ToggleFileRecord isSigned = recordOf(test::kProtectedFile, false);
    EXPECT_TRUE(decryptContent(isSigned, "System"));
    EXPECT_EQ(contentOf(isSigned), test::kSignedDocument);
    EXPECT_EQ(isSigned.error, "");
}

TEST(DecryptContent, LeavesTheContentWhenItFails) {
    const std::string plain = R"({"features":{"a":true}})";
    struct Case {
        const char* name;
        std::string content;
        const char* systemId;
        const char* error;
    };
    const char* const other = "The original KLB file was either corrupted or it was created for a "
                              "different computer.\n";
    const Case cases[] = {
        {"another system", test::kProtectedFile, "Other", other},
        {"an empty system identifier", test::kProtectedFile, "", other},
        {"nothing signed inside", test::kEncryptedDocument, "System", other},
        {"no envelope", plain, "System", "error reading input file\n"},
        {"no salted message", "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVo=\n", "System",
         "bad magic number\n"},
        {"no ciphertext", "U2FsdGVkX18BAgMEBQYHCA==\n", "System", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ToggleFileRecord record = recordOf(c.content, false);
        EXPECT_FALSE(decryptContent(record, c.systemId));
        EXPECT_EQ(record.error, c.error);
        EXPECT_EQ(contentOf(record), c.content);
    }
}

// The crypto library counts a password in an int, and would read beyond the text.
TEST(DecryptContent, RefusesASystemIdentifierOf2GiB) {
    constexpr std::size_t kSize = std::size_t{INT_MAX} + 1;
    // Nobody reads it, so it takes no memory.
    const std::unique_ptr<char[]> systemId(new char[kSize]);
    ToggleFileRecord record = recordOf(test::kProtectedFile, false);
    EXPECT_FALSE(decryptContent(record, {systemId.get(), kSize}));
    EXPECT_EQ(record.error, "The original KLB file was either corrupted or it was created for a "
                            "different computer.\n");
    EXPECT_EQ(contentOf(record), test::kProtectedFile);
}

TEST(DecryptContent, LeavesTheThreadsErrorQueueAsItWas) {
    initializeCryptoLibrary();
    ERR_clear_error();
    for (const bool before : {false, true}) {
        if (before) {
            ERR_put_error(ERR_LIB_USER, 0, 42, "host", 1);
        }
        for (const char* systemId : {"System", "Other"}) {
            ToggleFileRecord record = recordOf(test::kProtectedFile, false);
            decryptContent(record, systemId);
            ToggleFileRecord broken = recordOf("not an envelope\n", false);
            decryptContent(broken, systemId);
        }
        EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), before ? 42 : 0);
        EXPECT_EQ(ERR_get_error(), 0U);
    }
}

TEST(DecryptContent, SurvivesEveryFailedAllocationOfTheCryptoLibrary) {
    const std::string accepted[] = {
        "can't create BIO output from m_buffer\n",
        "error base64 bio\n",
        "error reading input file\n",
        "bad magic number\n",
        "Can't create bio from cipher\n",
        "Error setting cipher AES-256-CBC\n",
        "Error setting cipher AES-256-CBC\nError setting cipher AES-256-CBC\n",
        "OPENSSL_malloc failure, size: 11346\n",
        "BIO_read failure: \n",
        "The original KLB file was either corrupted or it was created for a different "
        "computer.\n",
    };
    // What the crypto library sets up once and for all has to be there: it cannot be repeated.
    ToggleFileRecord first = recordOf(test::kEncryptedDocument, true);
    ASSERT_TRUE(decryptContent(first, "System"));
    int failures = 0;
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        ToggleFileRecord record = recordOf(test::kEncryptedDocument, true);
        bool good = false;
        bool happened = false;
        {
            const test::FailingAllocation failure(n, test::MemorySource::Crypto);
            good = decryptContent(record, "System");
            happened = failure.happened();
        }
        if (good) {
            EXPECT_EQ(contentOf(record), test::kSampleDocument);
            EXPECT_EQ(record.error, "");
        } else {
            ++failures;
            EXPECT_EQ(contentOf(record), test::kEncryptedDocument);
            EXPECT_TRUE(record.error.empty() || std::find(std::begin(accepted), std::end(accepted),
                                                          record.error) != std::end(accepted))
                << record.error;
        }
        if (!happened) {
            EXPECT_TRUE(good);
            break;
        }
    }
    EXPECT_GT(failures, 5);
}

TEST(DecryptContent, ThrowsWhenMemoryRunsOut) {
    for (std::size_t n = 1;; ++n) {
        ToggleFileRecord record = recordOf(test::kEncryptedDocument, true);
        bool happened = false;
        {
            const test::FailingAllocation failure(n);
            try {
                decryptContent(record, "System");
            } catch (const std::bad_alloc&) {
            }
            happened = failure.happened();
        }
        if (!happened) {
            EXPECT_GT(n, 1U);
            EXPECT_EQ(contentOf(record), test::kSampleDocument);
            break;
        }
        EXPECT_EQ(contentOf(record), test::kEncryptedDocument);
    }
}

TEST(DecryptContent, LeavesNoPlainTextInFreedMemory) {
    // So long that it is read in several pieces, with the watched text in each of them.
    constexpr std::string_view kFeature = R"("a-feature-with-a-long-name":true,)";
    std::string document = "{";
    for (int i = 0; i < 1000; ++i) {
        document += kFeature;
    }
    const std::string envelope = test::sealed(document, "System");

    ToggleFileRecord record = recordOf(envelope, true);
    ToggleFileRecord refused = recordOf(envelope, false);
    {
        const test::FreedMemoryWatch watch(kFeature, test::WatchedMemory::OfCryptoLibraryToo);
        EXPECT_TRUE(decryptContent(record, "System"));
        EXPECT_FALSE(decryptContent(refused, "System"));
        EXPECT_EQ(watch.sightings(), 0);
    }
    EXPECT_EQ(contentOf(record), document);
}

TEST(ProtectedCipher, IsABlockCipherWithAnIvAndNoTag) {
    const EVP_CIPHER* cipher = KLB_PROTECTED_CIPHER_FUNCTION();
    EXPECT_GT(EVP_CIPHER_iv_length(cipher), 0);
    EXPECT_GT(EVP_CIPHER_key_length(cipher), 0);
    EXPECT_EQ(EVP_CIPHER_flags(cipher) & EVP_CIPH_FLAG_AEAD_CIPHER, 0U);
    EXPECT_GT(EVP_MD_size(KLB_PROTECTED_DIGEST_FUNCTION()), 0);
}

} // namespace
} // namespace klb
