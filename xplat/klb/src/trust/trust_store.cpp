#include "trust/trust_store.h"

#include "platform/file_content.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

namespace klb {

namespace {

/// Trusts the certificates of a PEM text, up to its end or to the first one that cannot be read;
/// false when there is none. An encrypted one cannot be read: nobody is asked for its pass phrase.
bool addCertificates(X509_STORE* store, const std::vector<char>& pem) {
    const CryptoStreamPtr input = openBytes(pem);
    if (!input) {
        return false;
    }
    char noPassPhrase[] = "";
    bool added = false;
    for (;;) {
        const CertificatePtr certificate(
            PEM_read_bio_X509_AUX(input.get(), nullptr, nullptr, noPassPhrase));
        if (!certificate || X509_STORE_add_cert(store, certificate.get()) != 1) {
            return added;
        }
        added = true;
    }
}

/// The file is read through the platform like every other one: what is not a regular file is
/// missing, and names are UTF-8.
bool addCertificateFile(X509_STORE* store, const std::string& path, const Platform& platform) {
    const std::unique_ptr<InputFile> file = platform.openInputFile(path);
    std::vector<char> pem;
    return file && readWhole(*file, pem) && addCertificates(store, pem);
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
