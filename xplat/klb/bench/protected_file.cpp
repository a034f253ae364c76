#include "protected_file.h"

#include <array>
#include <stdexcept>

#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

namespace klb::bench {

namespace {

constexpr unsigned kKeyBits = 2048;
constexpr long kSecondsOfDay = 24 * 60 * 60;

void check(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(std::string("the crypto library cannot ") + what);
    }
}

KeyPtr makeKey() {
    KeyPtr key(EVP_RSA_gen(kKeyBits));
    check(key != nullptr, "make a key");
    return key;
}

void setName(X509* certificate, const char* name) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(name);
    check(X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_ASC, bytes,
                                     -1, -1, 0) == 1,
          "set a name");
}

/// A certificate over a key, valid for a day; without an issuer it signs itself.
CertificatePtr makeCertificate(const char* name, long serial, const char* constraints,
                               EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey) {
    CertificatePtr certificate(X509_new());
    check(certificate != nullptr, "make a certificate");
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kSecondsOfDay);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kSecondsOfDay);
    setName(certificate.get(), name);
    X509_set_issuer_name(certificate.get(),
                         X509_get_subject_name(issuer != nullptr ? issuer : certificate.get()));
    X509_set_pubkey(certificate.get(), key);
    const ExtensionPtr extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_basic_constraints, constraints));
    check(extension && X509_add_ext(certificate.get(), extension.get(), -1) == 1,
          "add an extension");
    check(X509_sign(certificate.get(), issuerKey, EVP_sha256()) > 0, "sign a certificate");
    return certificate;
}

std::string contentOf(BIO* memory) {
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(memory, &bytes);
    return std::string(bytes, static_cast<std::size_t>(size));
}

std::string signDocument(const std::string& document, X509* certificate, EVP_PKEY* key) {
    const StreamPtr input(BIO_new_mem_buf(document.data(), static_cast<int>(document.size())));
    const SignedDataPtr message(PKCS7_sign(certificate, key, nullptr, input.get(), PKCS7_BINARY));
    const StreamPtr output(BIO_new(BIO_s_mem()));
    check(message && output &&
              SMIME_write_PKCS7(output.get(), message.get(), nullptr, PKCS7_BINARY) == 1,
          "sign the document");
    return contentOf(output.get());
}

std::string encrypt(const std::string& content, const std::string& password) {
    std::array<unsigned char, 8> salt{};
    std::array<unsigned char, EVP_MAX_KEY_LENGTH> key{};
    std::array<unsigned char, EVP_MAX_IV_LENGTH> iv{};
    check(RAND_bytes(salt.data(), static_cast<int>(salt.size())) == 1, "make a salt");
    EVP_BytesToKey(KLB_PROTECTED_CIPHER_FUNCTION(), KLB_PROTECTED_DIGEST_FUNCTION(), salt.data(),
                   reinterpret_cast<const unsigned char*>(password.data()),
                   static_cast<int>(password.size()), 1, key.data(), iv.data());

    BIO* const memory = BIO_new(BIO_s_mem());
    StreamPtr chain(memory);
    chain.reset(BIO_push(BIO_new(BIO_f_base64()), chain.release()));
    BIO_write(chain.get(), "Salted__", 8);
    BIO_write(chain.get(), salt.data(), static_cast<int>(salt.size()));
    StreamPtr cipher(BIO_new(BIO_f_cipher()));
    check(BIO_set_cipher(cipher.get(), KLB_PROTECTED_CIPHER_FUNCTION(), key.data(), iv.data(), 1) ==
              1,
          "encrypt");
    chain.reset(BIO_push(cipher.release(), chain.release()));
    const int size = static_cast<int>(content.size());
    check(BIO_write(chain.get(), content.data(), size) == size && BIO_flush(chain.get()) == 1,
          "encrypt");
    return contentOf(memory);
}

} // namespace

ProtectedFile protectDocument(const std::string& document, const std::string& systemId) {
    const KeyPtr authorityKey = makeKey();
    const KeyPtr signerKey = makeKey();
    CertificatePtr authority = makeCertificate("Bench authority", 1, "critical,CA:TRUE",
                                               authorityKey.get(), nullptr, authorityKey.get());
    const CertificatePtr signer =
        makeCertificate("Bench signer", 2, "critical,CA:FALSE", signerKey.get(), authority.get(),
                        authorityKey.get());
    const std::string message = signDocument(document, signer.get(), signerKey.get());
    return {encrypt(message, systemId), std::move(authority)};
}

std::string toPem(X509* certificate) {
    const StreamPtr output(BIO_new(BIO_s_mem()));
    check(output && PEM_write_bio_X509(output.get(), certificate) == 1, "write a certificate");
    return contentOf(output.get());
}

} // namespace klb::bench
