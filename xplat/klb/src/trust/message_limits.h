#ifndef KLB_TRUST_MESSAGE_LIMITS_H
#define KLB_TRUST_MESSAGE_LIMITS_H

#include <string_view>

#include <openssl/pkcs7.h>
#include <openssl/x509.h>

namespace klb {

// Nothing that these functions look at is covered by a signature yet: anyone who can write the file
// has chosen it. They refuse what would keep libcrypto busy for longer than a file of its size
// should, and nothing that people make. docs/limits.md has the reason for each limit.

enum class Fitness {
    kFit,
    /// libcrypto could not read it either.
    kUnreadable,
    kTooLarge,
};

/// Whether the headers of an S/MIME text and of its signature are short, and its parts few.
Fitness fitnessOfText(std::string_view text);

/// Whether an encoded message, its content left out, is small, and its certificates are few.
Fitness fitnessOfMessage(std::string_view message) noexcept;

/// Whether no key in an encoded certificate, message or key describes its own curve: libcrypto
/// would decompress points on it, and the curve can be chosen to make that slow.
bool namesItsCurves(std::string_view encoding) noexcept;

/// Whether a decoded message has signed data, and little of everything whose numbers libcrypto
/// multiplies.
bool isFitToVerify(PKCS7* message) noexcept;

/// Whether a certificate has few of the entries that libcrypto compares with each of another one.
bool isFitToVerify(X509* certificate) noexcept;

/// How many certificates may stand between that of each signer and a trusted one.
int maxDepthFor(PKCS7* message) noexcept;

} // namespace klb

#endif
