#include "configuration.h"
#include "crypto_pointers.h"
#include "library_session.h"
#include "measure.h"
#include "protected_file.h"
#include "rows.h"
#include "temp_directory.h"
#include "toggle_sets.h"

#include "klb.h"

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include <openssl/buffer.h>
#include <openssl/crypto.h>
#include <rapidjson/document.h>

namespace klb::bench {

namespace {

using klb::test::LibrarySession;
using klb::test::TempDirectory;

/// So many booleans are 1 MB.
constexpr std::size_t kToggles = 50'000;
constexpr int kPieceSize = 8192;

/// What the library does with the crypto library to a protected file, and nothing else. Each
/// function throws when a step fails.
namespace bare {

std::vector<char> decrypt(const std::string& text, const std::string& password) {
    StreamPtr chain(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    chain.reset(BIO_push(BIO_new(BIO_f_base64()), chain.release()));
    std::array<unsigned char, 8> magic{};
    std::array<unsigned char, 8> salt{};
    if (BIO_read(chain.get(), magic.data(), 8) != 8 || BIO_read(chain.get(), salt.data(), 8) != 8) {
        throw std::logic_error("the bare loop cannot read the salt");
    }
    std::array<unsigned char, EVP_MAX_KEY_LENGTH> key{};
    std::array<unsigned char, EVP_MAX_IV_LENGTH> iv{};
    EVP_BytesToKey(KLB_PROTECTED_CIPHER_FUNCTION(), KLB_PROTECTED_DIGEST_FUNCTION(), salt.data(),
                   reinterpret_cast<const unsigned char*>(password.data()),
                   static_cast<int>(password.size()), 1, key.data(), iv.data());
    StreamPtr filter(BIO_new(BIO_f_cipher()));
    EVP_CIPHER_CTX* context = nullptr;
    BIO_get_cipher_ctx(filter.get(), &context);
    EVP_CipherInit_ex(context, KLB_PROTECTED_CIPHER_FUNCTION(), nullptr, nullptr, nullptr, 0);
    EVP_CipherInit_ex(context, nullptr, nullptr, key.data(), iv.data(), 0);
    OPENSSL_cleanse(key.data(), key.size());
    OPENSSL_cleanse(iv.data(), iv.size());
    chain.reset(BIO_push(filter.release(), chain.release()));

    std::vector<char> output;
    output.reserve(text.size());
    std::array<char, kPieceSize> piece;
    int count = 0;
    while ((count = BIO_read(chain.get(), piece.data(), kPieceSize)) > 0) {
        output.insert(output.end(), piece.data(), piece.data() + count);
    }
    OPENSSL_cleanse(piece.data(), piece.size());
    return output;
}

/// The sink of the signed bytes.
StreamPtr verify(const std::vector<char>& message, X509* authority) {
    const StreamPtr input(BIO_new_mem_buf(message.data(), static_cast<int>(message.size())));
    const SignedDataPtr data(SMIME_read_PKCS7(input.get(), nullptr));
    StreamPtr output(BIO_new(BIO_s_mem()));
    BUF_MEM* memory = nullptr;
    BIO_get_mem_ptr(output.get(), &memory);
    BUF_MEM_grow(memory, message.size());
    memory->length = 0;
    const TrustStorePtr store(X509_STORE_new());
    X509_STORE_add_cert(store.get(), authority);
    if (!data || PKCS7_verify(data.get(), nullptr, store.get(), nullptr, output.get(), 0) != 1) {
        throw std::logic_error("the bare loop does not trust the protected file");
    }
    const ASN1_OCTET_STRING* content = data->d.sign->contents->d.data;
    OPENSSL_cleanse(content->data, static_cast<std::size_t>(content->length));
    return output;
}

/// The document.
std::string open(const std::string& text, const std::string& password, X509* authority) {
    std::vector<char> message = decrypt(text, password);
    const StreamPtr output = verify(message, authority);
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(output.get(), &bytes);
    std::string document(bytes, static_cast<std::size_t>(size));
    OPENSSL_cleanse(message.data(), message.size());
    return document;
}

} // namespace bare

/// A protected file of 1 MB.
class Example {
public:
    Example()
        : document_(toggleFileText(makeMembers(kGroups, kToggles))),
          protected_(protectDocument(document_, kSystemId)),
          authority_(toPem(protected_.authority.get())),
          file_(files_.write("toggles.klb", protected_.text)) {
        if (document_.size() < 950'000 || document_.size() > 1'050'000) {
            throw std::logic_error("the document has " + std::to_string(document_.size()) +
                                   " bytes");
        }
        if (bare::open(protected_.text, kSystemId, protected_.authority.get()) != document_) {
            throw std::logic_error("the bare loop finds another document");
        }
        checkThatLibraryTrusts();
    }

    double timeLibrary() const {
        const LibrarySession session(kSystemId);
        KLB_SetCertificateData(authority_.c_str());
        return secondsOf([&] { registerFile(); });
    }

    double timeBareLoop() const {
        return secondsOf([&] {
            benchmark::DoNotOptimize(
                bare::open(protected_.text, kSystemId, protected_.authority.get()));
        });
    }

    double timeParse() const {
        rapidjson::Document document;
        return secondsOf([&] { document.Parse(document_.c_str()); });
    }

private:
    void registerFile() const {
        KLB_RegisterToggleFile(KLB_ToggleFileType_Unsupported, kToken, file_.c_str());
    }

    /// Else a refusal would be timed.
    void checkThatLibraryTrusts() const {
        const LibrarySession session(kSystemId);
        KLB_SetCertificateData(authority_.c_str());
        registerFile();
        // The file gives the first feature true.
        const std::string key = makeKey(kGroups, 0);
        KLB_RegisterToggle(key.c_str(), false, kToken);
        if (!KLB_GetToggle(key.c_str())) {
            throw std::logic_error("the library passes over the protected file");
        }
    }

    TempDirectory files_;
    std::string document_;
    ProtectedFile protected_;
    std::string authority_;
    std::string file_;
};

void compareWithBareLoop(benchmark::State& state) {
    const Example example;
    measurePairs(
        state, [&] { return example.timeLibrary(); }, [&] { return example.timeBareLoop(); });
}

void compareParseWithLoad(benchmark::State& state) {
    const Example example;
    measurePairs(
        state, [&] { return example.timeParse(); }, [&] { return example.timeLibrary(); });
}

} // namespace

void addProtectedRows() {
    addRow("load a protected file of 1 MB", floors::kCryptoCalls, kToggles, Pairs::kMany,
           &compareWithBareLoop);
    addRow("of which parse", floors::kProtectedLoad, kToggles, Pairs::kSome, &compareParseWithLoad);
}

} // namespace klb::bench
