#include "trust/signature.h"

#include "trust/certificate.h"
#include "trust/crypto_objects.h"
#include "trust/message_limits.h"
#include "trust/trust_store.h"

#include <openssl/asn1t.h>
#include <openssl/buffer.h>
#include <openssl/pkcs7.h>

namespace klb {

namespace {

constexpr std::string_view kCertificateFileName = "mosk.cert.pem";
constexpr const char* kUnreadable = "Error reading S/MIME message\n";
constexpr const char* kNotVerified = "Verification failure\n";

/// A sink that takes this many bytes without allocating: libcrypto does not check whether the bytes
/// it verified could be stored.
StreamPtr makeSink(std::size_t capacity) {
    StreamPtr sink(BIO_new(BIO_s_mem()));
    BUF_MEM* memory = nullptr;
    if (!sink || BIO_get_mem_ptr(sink.get(), &memory) != 1 ||
        static_cast<std::size_t>(BUF_MEM_grow(memory, capacity)) != capacity) {
        return nullptr;
    }
    memory->length = 0;
    return sink;
}

using EncodedMessagePtr = std::unique_ptr<ASN1_STRING, CryptoDeleter<ASN1_STRING_free>>;

struct Message {
    SignedDataPtr signedData;
    /// The content when it is not in the signed data.
    StreamPtr detachedContent;
};

/// Whether libcrypto is to go on; a line of diagnostics when it is not.
bool check(Fitness fitness, std::string& diagnostics) {
    if (fitness != Fitness::kFit) {
        diagnostics += fitness == Fitness::kTooLarge ? kNotVerified : kUnreadable;
    }
    return fitness == Fitness::kFit;
}

/// The message in an S/MIME text; without signed data, and with a line of diagnostics, when there
/// is none to verify.
Message readMessage(const SecretBytes& text, std::string& diagnostics) {
    Message message;
    const StreamPtr input = openBytes(text);
    if (!input) {
        diagnostics += "Can't create input bio mem buff\n";
        return message;
    }
    if (!check(fitnessOfText({text.data(), text.size()}), diagnostics)) {
        return message;
    }
    BIO* detached = nullptr;
    const EncodedMessagePtr encoded(reinterpret_cast<ASN1_STRING*>(
        SMIME_read_ASN1(input.get(), &detached, ASN1_ITEM_rptr(ASN1_SEQUENCE))));
    message.detachedContent.reset(detached);
    if (!encoded) {
        diagnostics += kUnreadable;
        return message;
    }
    const unsigned char* bytes = encoded->data;
    const std::string_view encoding(reinterpret_cast<const char*>(bytes),
                                    static_cast<std::size_t>(encoded->length));
    if (!check(fitnessOfMessage(encoding), diagnostics)) {
        return message;
    }
    message.signedData.reset(d2i_PKCS7(nullptr, &bytes, encoded->length));
    if (!message.signedData) {
        diagnostics += kUnreadable;
    }
    return message;
}

/// The signed bytes; null, and a line of diagnostics, when they are not to be trusted.
StreamPtr verify(const SecretBytes& text, std::string_view path, X509* certificate,
                 const Platform& platform, std::string& diagnostics) {
    const Message message = readMessage(text, diagnostics);
    if (!message.signedData) {
        return nullptr;
    }
    BIO* const detached = message.detachedContent.get();
    StreamPtr output = makeSink(detached != nullptr ? BIO_ctrl_pending(detached) : text.size());
    if (!output) {
        // The only line without a line end; hosts know the text like this.
        diagnostics += "Can't create output bio mem buff";
        return nullptr;
    }
    const TrustStorePtr store =
        certificate != nullptr ? trustOnly(certificate)
                               : buildTrustStore(certificatePathFor(path), platform, diagnostics);
    if (!store) {
        diagnostics += "setup_verify error\n";
        return nullptr;
    }
    PKCS7* const signedData = message.signedData.get();
    if (!isFitToVerify(signedData) ||
        X509_STORE_set_depth(store.get(), maxDepthFor(signedData)) != 1 ||
        PKCS7_verify(signedData, nullptr, store.get(), detached, output.get(), 0) != 1) {
        diagnostics += kNotVerified;
        return nullptr;
    }
    return output;
}

} // namespace

std::optional<SecretBytes> verifySignature(SecretBytes message, std::string_view path,
                                           x509_st* certificate, const Platform& platform,
                                           std::string& error) {
    const ErrorQueueScope errors;
    const StreamPtr output = verify(message, path, certificate, platform, error);
    if (!output) {
        return std::nullopt;
    }
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(output.get(), &bytes);
    return SecretBytes(bytes, bytes + size);
}

std::string certificatePathFor(std::string_view path) {
    const std::size_t end = path.find_last_of("/\\");
    const char separator = end != std::string_view::npos ? path[end] : '\\';
    std::string result(path.substr(0, end == std::string_view::npos ? 0 : end));
    result += separator;
    result += kCertificateFileName;
    return result;
}

} // namespace klb
