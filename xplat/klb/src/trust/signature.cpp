#include "trust/signature.h"

#include "trust/crypto_library.h"
#include "trust/crypto_objects.h"
#include "trust/error_queue.h"
#include "trust/trust_store.h"

#include <cstdint>

#include <openssl/buffer.h>
#include <openssl/pkcs7.h>

namespace klb {

namespace {

constexpr std::string_view kCertificateFileName = "mosk.cert.pem";

/// A sink that takes this many bytes without asking for memory: the crypto library does not look
/// whether the bytes it verified could be stored.
CryptoStreamPtr makeSink(std::size_t capacity) {
    CryptoStreamPtr sink(BIO_new(BIO_s_mem()));
    BUF_MEM* memory = nullptr;
    if (!sink || BIO_get_mem_ptr(sink.get(), &memory) != 1 ||
        static_cast<std::size_t>(BUF_MEM_grow(memory, capacity)) != capacity) {
        return nullptr;
    }
    memory->length = 0;
    return sink;
}

/// Whether verifying is safe and takes little time. What is asked for here is not covered by the
/// signature, so anyone can put it into a message.
bool isFitToVerify(PKCS7* message) {
    if (!PKCS7_type_is_signed(message) || message->d.sign == nullptr) {
        return false;
    }
    // Each digest becomes a filter that all content runs through, and the filters call one another:
    // many of them take the time and then the stack. Without any the crypto library frees the
    // detached content that is not its own.
    constexpr int kMaxDigests = 16;
    const int digests = sk_X509_ALGOR_num(message->d.sign->md_algs);
    if (digests < 1 || digests > kMaxDigests) {
        return false;
    }
    // Each signer is looked for among all certificates of the message, before the crypto library
    // looks whether any of them is trusted.
    constexpr std::int64_t kMaxComparisons = 100'000;
    const std::int64_t signers = sk_PKCS7_SIGNER_INFO_num(message->d.sign->signer_info);
    const std::int64_t certificates = sk_X509_num(message->d.sign->cert);
    return signers * certificates <= kMaxComparisons;
}

TrustStorePtr trustStoreFor(ToggleFileRecord& record, const Platform& platform) {
    if (record.certificate != nullptr) {
        return trustOnly(record.certificate);
    }
    return buildTrustStore(record.error, certificatePathFor(record.path), platform);
}

/// The signed bytes; null and a line of diagnostics when they are not to be trusted.
CryptoStreamPtr verify(ToggleFileRecord& record, const Platform& platform,
                       std::string& diagnostics) {
    const CryptoStreamPtr input = openBytes(record.content);
    if (!input) {
        diagnostics += "Can't create input bio mem buff\n";
        return nullptr;
    }
    BIO* detached = nullptr;
    const SignedDataPtr message(SMIME_read_PKCS7(input.get(), &detached));
    const CryptoStreamPtr detachedContent(detached);
    if (!message) {
        diagnostics += "Error reading S/MIME message\n";
        return nullptr;
    }
    CryptoStreamPtr output =
        makeSink(detached != nullptr ? BIO_ctrl_pending(detached) : record.content.size());
    if (!output) {
        // The only line without its end; hosts know the text like this.
        diagnostics += "Can't create output bio mem buff";
        return nullptr;
    }
    const TrustStorePtr store = trustStoreFor(record, platform);
    if (!store) {
        diagnostics += "setup_verify error\n";
        return nullptr;
    }
    if (!isFitToVerify(message.get()) ||
        PKCS7_verify(message.get(), nullptr, store.get(), detachedContent.get(), output.get(), 0) !=
            1) {
        diagnostics += "Verification failure\n";
        return nullptr;
    }
    return output;
}

} // namespace

bool verifySignature(ToggleFileRecord& record, const Platform& platform) {
    const ErrorQueueScope errors;
    std::string diagnostics;
    const CryptoStreamPtr output = verify(record, platform, diagnostics);
    if (output) {
        char* bytes = nullptr;
        const long size = BIO_get_mem_data(output.get(), &bytes);
        std::vector<char> content(bytes, bytes + size);
        const CleanseScope cleansed(content);
        record.content.swap(content);
    }
    record.error += diagnostics;
    return output != nullptr;
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
