#include "trust/trust_store.h"

#include "trust/message_limits.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace klb {

namespace {

// Beyond this a file is no list of certificates. libcrypto sorts its store again for each.
constexpr std::uint64_t kMaxCertificateFileSize = 1024 * 1024;
constexpr int kMaxCertificateFileEntries = 200;
constexpr long kMaxCertificateSize = 64 * 1024;

using RevocationListPtr = std::unique_ptr<X509_CRL, CryptoDeleter<X509_CRL_free>>;

/// One entry of a PEM text. libcrypto's own function for a whole text decodes keys as well, which
/// can take any amount of time.
struct PemEntry {
    CryptoMemoryPtr name;
    CryptoMemoryPtr header;
    CryptoMemoryPtr bytes;
    long size = 0;

    bool is(std::string_view type) const noexcept {
        return static_cast<const char*>(name.get()) == type;
    }
    std::string_view encoding() const noexcept {
        return {static_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)};
    }
};

/// OpenSSL 1.0 fails to add what is there already.
bool isAdded(int result) {
    return result == 1 ||
           ERR_GET_REASON(ERR_peek_last_error()) == X509_R_CERT_ALREADY_IN_HASH_TABLE;
}

/// The next entry of a text; none at its end and where it is damaged.
std::optional<PemEntry> nextEntry(BIO* text) {
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* bytes = nullptr;
    PemEntry entry;
    if (PEM_read_bio(text, &name, &header, &bytes, &entry.size) != 1) {
        return std::nullopt;
    }
    entry.name.reset(name);
    entry.header.reset(header);
    entry.bytes.reset(bytes);
    return entry;
}

/// Makes an entry that is encrypted readable, if it can be without a pass phrase. Nobody is asked
/// for one at the terminal.
bool decrypt(PemEntry& entry) {
    char noPassPhrase[] = "";
    EVP_CIPHER_INFO cipher{};
    return PEM_get_EVP_CIPHER_INFO(static_cast<char*>(entry.header.get()), &cipher) == 1 &&
           PEM_do_header(&cipher, static_cast<unsigned char*>(entry.bytes.get()), &entry.size,
                         nullptr, noPassPhrase) == 1;
}

/// What a PEM text trusts.
struct Trusted {
    std::vector<CertificatePtr> certificates;
    /// Nothing consults them, but one that is damaged voids the text.
    std::vector<RevocationListPtr> revocationLists;
};

/// Adds what an entry trusts, if it is of a kind that can; false when it is damaged, or could stall
/// libcrypto.
bool addEntry(PemEntry& entry, Trusted& trusted) {
    const bool isTrusted = entry.is(PEM_STRING_X509_TRUSTED);
    const bool isCertificate =
        isTrusted || entry.is(PEM_STRING_X509) || entry.is(PEM_STRING_X509_OLD);
    if (!isCertificate && !entry.is(PEM_STRING_X509_CRL)) {
        return true;
    }
    if (!decrypt(entry) || !namesItsCurves(entry.encoding())) {
        return false;
    }
    const auto* bytes = static_cast<const unsigned char*>(entry.bytes.get());
    if (isCertificate && entry.size > kMaxCertificateSize) {
        return false;
    }
    if (!isCertificate) {
        RevocationListPtr list(d2i_X509_CRL(nullptr, &bytes, entry.size));
        trusted.revocationLists.push_back(std::move(list));
        return trusted.revocationLists.back() != nullptr;
    }
    CertificatePtr certificate(isTrusted ? d2i_X509_AUX(nullptr, &bytes, entry.size)
                                         : d2i_X509(nullptr, &bytes, entry.size));
    const bool isFit = certificate && isFitToVerify(certificate.get());
    trusted.certificates.push_back(std::move(certificate));
    return isFit;
}

/// Trusts every certificate of a PEM text; nothing of a text that cannot be read to its end. Its
/// revocation lists go into the store too, where nothing consults them.
bool addCertificates(X509_STORE* store, const std::vector<char>& pem) {
    const StreamPtr input = openBytes(pem);
    if (!input) {
        return false;
    }
    Trusted trusted;
    int entries = 0;
    while (std::optional<PemEntry> entry = nextEntry(input.get())) {
        if (++entries > kMaxCertificateFileEntries || !addEntry(*entry, trusted)) {
            return false;
        }
    }
    if (ERR_GET_REASON(ERR_peek_last_error()) != PEM_R_NO_START_LINE ||
        (trusted.certificates.empty() && trusted.revocationLists.empty())) {
        return false;
    }
    const auto isAddedCertificate = [store](const CertificatePtr& certificate) {
        return isAdded(X509_STORE_add_cert(store, certificate.get()));
    };
    const auto isAddedList = [store](const RevocationListPtr& list) {
        return isAdded(X509_STORE_add_crl(store, list.get()));
    };
    return std::all_of(trusted.certificates.begin(), trusted.certificates.end(),
                       isAddedCertificate) &&
           std::all_of(trusted.revocationLists.begin(), trusted.revocationLists.end(), isAddedList);
}

/// The file is read through the platform like every other one: what is not a regular file is
/// missing, and names are UTF-8.
bool addCertificateFile(X509_STORE* store, const std::string& path, const Platform& platform) {
    const std::unique_ptr<InputFile> file = platform.openInputFile(path);
    const std::optional<std::uint64_t> size = file ? file->size() : std::nullopt;
    if (!size || *size > kMaxCertificateFileSize) {
        return false;
    }
    std::vector<char> pem(static_cast<std::size_t>(*size));
    return file->read(pem.data(), pem.size()) == pem.size() && addCertificates(store, pem);
}

} // namespace

TrustStorePtr trustOnly(X509* certificate) noexcept {
    TrustStorePtr store(X509_STORE_new());
    if (store && X509_STORE_add_cert(store.get(), certificate) != 1) {
        store.reset();
    }
    return store;
}

TrustStorePtr buildTrustStore(const std::string& certificatePath, const Platform& platform,
                              std::string& error) {
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
