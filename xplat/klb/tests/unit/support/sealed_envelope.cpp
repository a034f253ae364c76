#include "support/sealed_envelope.h"

#include <array>
#include <cstddef>
#include <memory>
#include <stdexcept>

#include <openssl/evp.h>

namespace klb::test {

namespace {

struct CipherDeleter {
    void operator()(EVP_CIPHER_CTX* context) const noexcept {
        EVP_CIPHER_CTX_free(context);
    }
};

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string encrypted(std::string_view text, std::string_view password, const unsigned char* salt) {
    const EVP_CIPHER* const cipher = KLB_PROTECTED_CIPHER_FUNCTION();
    std::array<unsigned char, EVP_MAX_KEY_LENGTH> key{};
    std::array<unsigned char, EVP_MAX_IV_LENGTH> iv{};
    EVP_BytesToKey(cipher, KLB_PROTECTED_DIGEST_FUNCTION(), salt, bytesOf(password),
                   static_cast<int>(password.size()), 1, key.data(), iv.data());
    const std::unique_ptr<EVP_CIPHER_CTX, CipherDeleter> context(EVP_CIPHER_CTX_new());
    std::string output(text.size() + EVP_MAX_BLOCK_LENGTH, '\0');
    auto* const bytes = reinterpret_cast<unsigned char*>(output.data());
    int size = 0;
    int rest = 0;
    if (!context ||
        EVP_EncryptInit_ex(context.get(), cipher, nullptr, key.data(), iv.data()) != 1 ||
        EVP_EncryptUpdate(context.get(), bytes, &size, bytesOf(text),
                          static_cast<int>(text.size())) != 1 ||
        EVP_EncryptFinal_ex(context.get(), bytes + size, &rest) != 1) {
        throw std::runtime_error("the crypto library cannot encrypt");
    }
    output.resize(static_cast<std::size_t>(size + rest));
    return output;
}

} // namespace

std::string sealed(std::string_view text, std::string_view systemId) {
    const std::array<unsigned char, 8> salt = {1, 2, 3, 4, 5, 6, 7, 8};
    std::string envelope = "Salted__";
    envelope.append(salt.begin(), salt.end()).append(encrypted(text, systemId, salt.data()));
    return inBase64Lines(envelope);
}

std::string inBase64Lines(std::string_view bytes) {
    constexpr std::size_t kBytesPerLine = 48;
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += kBytesPerLine) {
        const std::string_view piece = bytes.substr(at, kBytesPerLine);
        std::array<unsigned char, kBytesPerLine / 3 * 4 + 1> line{};
        const int size =
            EVP_EncodeBlock(line.data(), bytesOf(piece), static_cast<int>(piece.size()));
        text.append(line.begin(), line.begin() + size).append("\n");
    }
    return text;
}

} // namespace klb::test
