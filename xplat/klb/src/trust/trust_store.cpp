#include "trust/trust_store.h"

#include "platform/file_content.h"
#include "trust/message_limits.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace klb {

namespace {

// Beyond this a file is no list of certificates. libcrypto sorts its store anew for each.
constexpr std::uint64_t kMaxCertificateFileSize = 1024 * 1024;
constexpr int kMaxCertificateFileEntries = 200;

// Without a pass phrase at hand libcrypto would ask for one at the terminal.
char noPassPhrase[] = "";

struct PemEntriesDeleter {
    void operator()(STACK_OF(X509_INFO) * entries) const noexcept {
        sk_X509_INFO_pop_free(entries, X509_INFO_free);
    }
};
using PemEntriesPtr = std::unique_ptr<STACK_OF(X509_INFO), PemEntriesDeleter>;

/// In the earlier series, adding what is there already is a failure.
bool isAdded(int result) {
    return result == 1 ||
           ERR_GET_REASON(ERR_peek_last_error()) == X509_R_CERT_ALREADY_IN_HASH_TABLE;
}

/// Whether libcrypto decodes what is in a PEM text in little time. Says so of an entry that cannot
/// be read, too: it ends the text here and makes it useless there.
bool isFitToRead(const std::vector<char>& pem) {
    const CryptoStreamPtr input = openBytes(pem);
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* bytes = nullptr;
    long size = 0;
    for (int entries = 0; input && PEM_read_bio(input.get(), &name, &header, &bytes, &size) == 1;
         ++entries) {
        const CryptoMemoryPtr ownedName(name);
        const CryptoMemoryPtr ownedHeader(header);
        const CryptoMemoryPtr ownedBytes(bytes);
        EVP_CIPHER_INFO cipher{};
        const bool isReadable = PEM_get_EVP_CIPHER_INFO(header, &cipher) == 1 &&
                                PEM_do_header(&cipher, bytes, &size, nullptr, noPassPhrase) == 1;
        if (entries == kMaxCertificateFileEntries ||
            (isReadable && !namesItsCurve({reinterpret_cast<const char*>(bytes),
                                           static_cast<std::size_t>(size)}))) {
            return false;
        }
    }
    return true;
}

/// Trusts every certificate of a PEM text; nothing of a text that cannot be read to its end. Its
/// revocation lists go into the store too, where nothing consults them. Nobody is asked for a pass
/// phrase.
bool addCertificates(X509_STORE* store, const std::vector<char>& pem) {
    if (!isFitToRead(pem)) {
        return false;
    }
    const CryptoStreamPtr input = openBytes(pem);
    if (!input) {
        return false;
    }
    const PemEntriesPtr entries(
        PEM_X509_INFO_read_bio(input.get(), nullptr, nullptr, noPassPhrase));
    if (!entries) {
        return false;
    }
    const int count = sk_X509_INFO_num(entries.get());
    for (int i = 0; i < count; ++i) {
        X509* certificate = sk_X509_INFO_value(entries.get(), i)->x509;
        if (certificate != nullptr && !hasFewRelativePoints(certificate)) {
            return false;
        }
    }
    bool added = false;
    for (int i = 0; i < count; ++i) {
        const X509_INFO* entry = sk_X509_INFO_value(entries.get(), i);
        if ((entry->x509 != nullptr && !isAdded(X509_STORE_add_cert(store, entry->x509))) ||
            (entry->crl != nullptr && !isAdded(X509_STORE_add_crl(store, entry->crl)))) {
            return false;
        }
        added = added || entry->x509 != nullptr || entry->crl != nullptr;
    }
    return added;
}

/// The file is read through the platform like every other one: what is not a regular file is
/// missing, and names are UTF-8.
bool addCertificateFile(X509_STORE* store, const std::string& path, const Platform& platform) {
    const std::unique_ptr<InputFile> file = platform.openInputFile(path);
    std::vector<char> pem;
    return file && readWhole(*file, pem, kMaxCertificateFileSize) && addCertificates(store, pem);
}

} // namespace

TrustStorePtr trustOnly(X509* certificate) noexcept {
    TrustStorePtr store(X509_STORE_new());
    if (store && X509_STORE_add_cert(store.get(), certificate) != 1) {
        store.reset();
    }
    return store;
}

TrustStorePtr buildTrustStore(std::string& error, const std::string& certificatePath,
                              const Platform& platform) {
    std::string diagnostics;
    TrustStorePtr store(X509_STORE_new());
    if (store) {
        if (!addCertificateFile(store.get(), certificatePath, platform)) {
            diagnostics = "Error loading file: " + certificatePath + "\n";
        }
        X509_LOOKUP* directory = X509_STORE_add_lookup(store.get(), X509_LOOKUP_hash_dir());
        if (directory != nullptr) {
            X509_LOOKUP_add_dir(directory, nullptr, X509_FILETYPE_DEFAULT);
            return store;
        }
    }
    error += diagnostics;
    return nullptr;
}

} // namespace klb
