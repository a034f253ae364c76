#include "trust/decryption.h"

#include "trust/crypto_objects.h"

#include <array>
#include <climits>
#include <string>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/objects.h>

namespace klb {

namespace {

constexpr std::string_view kMagic = "Salted__";
constexpr std::size_t kSaltSize = 8;
constexpr std::size_t kReadBufferSize = 11346;
constexpr int kPieceSize = 8192;
constexpr std::string_view kSignedMessageStart = "MIME-Version: 1.0";
constexpr std::string_view kDocumentStart = "{";
constexpr const char* kOtherComputer =
    "The original KLB file was either corrupted or it was created for a different computer.\n";

struct KeyAndIv {
    std::array<unsigned char, EVP_MAX_KEY_LENGTH> key{};
    std::array<unsigned char, EVP_MAX_IV_LENGTH> iv{};

    KeyAndIv() = default;
    KeyAndIv(const KeyAndIv&) = delete;
    KeyAndIv& operator=(const KeyAndIv&) = delete;
    ~KeyAndIv() {
        OPENSSL_cleanse(key.data(), key.size());
        OPENSSL_cleanse(iv.data(), iv.size());
    }
};

/// Sets a cipher filter up in two calls: the cipher, then key and IV. The second is made even when
/// the first fails.
bool setUpCipher(BIO* filter, const KeyAndIv& secret, std::string& diagnostics) {
    const EVP_CIPHER* cipher = KLB_PROTECTED_CIPHER_FUNCTION();
    EVP_CIPHER_CTX* context = nullptr;
    BIO_get_cipher_ctx(filter, &context);
    bool good = true;
    const auto check = [&](int result) {
        if (result != 1) {
            diagnostics += "Error setting cipher ";
            diagnostics += OBJ_nid2sn(EVP_CIPHER_nid(cipher));
            diagnostics += '\n';
            good = false;
        }
    };
    check(EVP_CipherInit_ex(context, cipher, nullptr, nullptr, nullptr, 0));
    check(EVP_CipherInit_ex(context, nullptr, nullptr, secret.key.data(), secret.iv.data(), 0));
    return good;
}

bool readExactly(BIO* chain, char* buffer, std::size_t size) {
    return BIO_read(chain, buffer, static_cast<int>(size)) == static_cast<int>(size);
}

/// The decrypted bytes, possibly none; without a value, and with a line of diagnostics, when a step
/// fails.
std::optional<SecretBytes> decrypt(const std::vector<char>& content, std::string_view password,
                                   std::string& diagnostics) {
    StreamChainPtr chain(openBytes(content).release());
    if (!chain) {
        diagnostics += "can't create BIO output from m_buffer\n";
        return std::nullopt;
    }
    BIO* base64 = BIO_new(BIO_f_base64());
    if (base64 == nullptr) {
        diagnostics += "error base64 bio\n";
        return std::nullopt;
    }
    chain.reset(BIO_push(base64, chain.release()));

    std::array<char, kMagic.size()> magic{};
    std::array<char, kSaltSize> salt{};
    if (!readExactly(chain.get(), magic.data(), magic.size()) ||
        !readExactly(chain.get(), salt.data(), salt.size())) {
        diagnostics += "error reading input file\n";
        return std::nullopt;
    }
    if (std::string_view(magic.data(), magic.size()) != kMagic) {
        diagnostics += "bad magic number\n";
        return std::nullopt;
    }

    // libcrypto takes no longer password, so nobody has made a file for it.
    if (password.size() > INT_MAX) {
        diagnostics += kOtherComputer;
        return std::nullopt;
    }
    KeyAndIv secret;
    EVP_BytesToKey(KLB_PROTECTED_CIPHER_FUNCTION(), KLB_PROTECTED_DIGEST_FUNCTION(),
                   reinterpret_cast<const unsigned char*>(salt.data()),
                   reinterpret_cast<const unsigned char*>(password.data()),
                   static_cast<int>(password.size()), 1, secret.key.data(), secret.iv.data());

    StreamChainPtr filter(BIO_new(BIO_f_cipher()));
    if (!filter) {
        diagnostics += "Can't create bio from cipher\n";
        return std::nullopt;
    }
    if (!setUpCipher(filter.get(), secret, diagnostics)) {
        return std::nullopt;
    }
    chain.reset(BIO_push(filter.release(), chain.release()));

    const CryptoMemoryPtr buffer(OPENSSL_malloc(kReadBufferSize));
    if (!buffer) {
        diagnostics += "OPENSSL_malloc failure, size: " + std::to_string(kReadBufferSize) + "\n";
        return std::nullopt;
    }
    SecretBytes output;
    // A plain text is shorter than its envelope.
    output.reserve(content.size());
    const char* piece = static_cast<const char*>(buffer.get());
    int count = 0;
    while ((count = BIO_read(chain.get(), buffer.get(), kPieceSize)) > 0) {
        output.insert(output.end(), piece, piece + count);
    }
    OPENSSL_cleanse(buffer.get(), kReadBufferSize);
    if (count < 0) {
        diagnostics += "BIO_read failure: \n";
        return std::nullopt;
    }
    return output;
}

/// The key of another system yields garbage, mostly without a read error: this tells them apart.
bool isPlausible(const SecretBytes& output, bool isSigned) {
    const std::string_view text(output.data(), output.size());
    return text.starts_with(isSigned ? kSignedMessageStart : kDocumentStart);
}

} // namespace

std::optional<SecretBytes> decryptContent(std::vector<char> content, std::string_view systemId,
                                          bool isSigned, std::string& error) {
    const ErrorQueueScope errors;
    std::optional<SecretBytes> output = decrypt(content, systemId, error);
    if (!output || output->empty()) {
        return std::nullopt;
    }
    if (!isPlausible(*output, isSigned)) {
        error += kOtherComputer;
        return std::nullopt;
    }
    return output;
}

} // namespace klb
