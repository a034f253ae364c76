#ifndef KLB_TRUST_SIGNATURE_H
#define KLB_TRUST_SIGNATURE_H

#include "platform/platform.h"
#include "trust/secret_bytes.h"

#include <optional>
#include <string>
#include <string_view>

struct x509_st;

namespace klb {

/// Checks the signature of an S/MIME message. The signer must be the given certificate or, when it
/// is null, trusted by the certificate file beside the toggle file or by libcrypto's default
/// directory. The signed bytes; without them the error says why.
/// \param path The path of the toggle file.
std::optional<SecretBytes> verifySignature(SecretBytes message, std::string_view path,
                                           x509_st* certificate, const Platform& platform,
                                           std::string& error);

/// The path of the certificate file in the directory of a toggle file.
std::string certificatePathFor(std::string_view path);

} // namespace klb

#endif
