#ifndef KLB_TRUST_MESSAGE_LIMITS_H
#define KLB_TRUST_MESSAGE_LIMITS_H

#include <string_view>

#include <openssl/pkcs7.h>
#include <openssl/x509.h>

namespace klb {

// Nothing that these functions look at is covered by a signature yet: anyone who can write the file
// has chosen it. They refuse what would keep libcrypto busy for longer than a file of its size
// should, and nothing that people make. docs/limits.md has the reason for each limit.

/// Whether the headers of an S/MIME text, before its parts and in front of each, are short.
bool hasShortHeaders(std::string_view text) noexcept;

/// Whether an encoded message is small but for its content, and its certificates are few.
bool isFitToDecode(std::string_view message) noexcept;

/// Whether a decoded certificate, revocation list or key has been kept from describing a curve of
/// its own.
bool namesItsCurve(std::string_view encoding) noexcept;

/// Whether a decoded message has signed data, and few of all that libcrypto multiplies.
bool isFitToVerify(PKCS7* message) noexcept;

/// Whether few of a certificate's distribution points go on with its issuer's name, of which
/// libcrypto makes a copy for each.
bool hasFewRelativePoints(X509* certificate) noexcept;

} // namespace klb

#endif
