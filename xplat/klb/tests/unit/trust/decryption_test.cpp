#include "trust/decryption.h"

#include "support/failing_allocation.h"
#include "support/protected_samples.h"
#include "support/sealed_envelope.h"
#include "trust/crypto_objects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <openssl/err.h>
#include <openssl/evp.h>

namespace klb {
namespace {

/// What decrypting gave.
struct Decrypted {
    std::optional<std::string> text;
    std::string error;

    bool operator==(const Decrypted&) const = default;
};

Decrypted decrypted(std::string_view content, std::string_view systemId, bool isSigned) {
    Decrypted result;
    const std::optional<SecretBytes> text =
        decryptContent({content.begin(), content.end()}, systemId, isSigned, result.error);
    if (text) {
        result.text.emplace(text->begin(), text->end());
    }
    return result;
}

class DecryptContent : public testing::Test {
protected:
    DecryptContent() {
        initializeCryptoLibrary();
    }
};

TEST_F(DecryptContent, GivesThePlainText) {
    EXPECT_EQ(decrypted(test::kEncryptedDocument, "System", false),
              (Decrypted{test::kSampleDocument, ""}));
    EXPECT_EQ(decrypted(test::kProtectedFile, "System", true),
              (Decrypted{test::kSignedDocument, ""}));
}

TEST_F(DecryptContent, SaysWhyItFails) {
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
        EXPECT_EQ(decrypted(c.content, c.systemId, true), (Decrypted{std::nullopt, c.error}));
    }
}

// libcrypto counts a password in an int, and would read beyond the text.
TEST_F(DecryptContent, RefusesASystemIdentifierOf2GiB) {
    constexpr std::size_t kSize = std::size_t{INT_MAX} + 1;
    // Nobody reads it, so it takes no memory.
    const std::unique_ptr<char[]> systemId(new char[kSize]);
    EXPECT_EQ(decrypted(test::kProtectedFile, {systemId.get(), kSize}, true).error,
              "The original KLB file was either corrupted or it was created for a "
              "different computer.\n");
}

TEST_F(DecryptContent, LeavesTheThreadsErrorQueueAsItWas) {
    ERR_clear_error();
    for (const bool before : {false, true}) {
        if (before) {
            ERR_put_error(ERR_LIB_USER, 0, 42, "host", 1);
        }
        for (const char* systemId : {"System", "Other"}) {
            decrypted(test::kProtectedFile, systemId, true);
            decrypted("not an envelope\n", systemId, true);
        }
        EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), before ? 42 : 0);
        EXPECT_EQ(ERR_get_error(), 0U);
    }
}

TEST_F(DecryptContent, SurvivesEveryFailedAllocationOfTheCryptoLibrary) {
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
    // What libcrypto sets up once and for all has to be there: it cannot be repeated.
    ASSERT_TRUE(decrypted(test::kEncryptedDocument, "System", false).text);
    int failures = 0;
    for (std::size_t n = 1;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        Decrypted result;
        bool happened = false;
        {
            const test::FailingAllocation failure(n, test::MemorySource::Crypto);
            result = decrypted(test::kEncryptedDocument, "System", false);
            happened = failure.happened();
        }
        if (result.text) {
            EXPECT_EQ(result, (Decrypted{test::kSampleDocument, ""}));
        } else {
            ++failures;
            EXPECT_TRUE(result.error.empty() || std::find(std::begin(accepted), std::end(accepted),
                                                          result.error) != std::end(accepted))
                << result.error;
        }
        if (!happened) {
            EXPECT_TRUE(result.text);
            break;
        }
    }
    EXPECT_GT(failures, 5);
}

TEST_F(DecryptContent, LeavesNoPlainTextInFreedMemory) {
    // So long that it is read in several pieces, with the watched text in each of them.
    constexpr std::string_view kFeature = R"("a-feature-with-a-long-name":true,)";
    std::string document = "{";
    for (int i = 0; i < 1000; ++i) {
        document += kFeature;
    }
    const std::string envelope = test::sealed(document, "System");

    const test::FreedMemoryWatch watch(kFeature, test::WatchedMemory::OfCryptoLibraryToo);
    for (const bool isSigned : {false, true}) {
        std::string error;
        const std::optional<SecretBytes> text =
            decryptContent({envelope.begin(), envelope.end()}, "System", isSigned, error);
        EXPECT_EQ(text.has_value(), !isSigned);
    }
    EXPECT_EQ(watch.sightings(), 0);
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
