#include "crypto_surroundings.h"

#include "check.h"
#include "crypto_environment.h"

#include <openssl/ui.h>

namespace klb::fuzz {

namespace {

int openPrompt(UI* /*prompt*/) {
    check(false, "nobody is asked for a pass phrase");
    return 0;
}

} // namespace

void isolateCryptoLibrary() {
    using test::CryptoVariable;
    static const CryptoVariable directory("SSL_CERT_DIR", "/nonexistent/certificates");
    static const CryptoVariable file("SSL_CERT_FILE", "/nonexistent/certificates.pem");
    static const CryptoVariable configuration("OPENSSL_CONF", "/nonexistent/openssl.cnf");
    // Stays for the process: the crypto library keeps its address.
    static UI_METHOD* const method = UI_create_method("no prompt");
    UI_method_set_opener(method, openPrompt);
    UI_set_default_method(method);
}

} // namespace klb::fuzz
