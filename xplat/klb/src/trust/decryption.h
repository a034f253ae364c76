#ifndef KLB_TRUST_DECRYPTION_H
#define KLB_TRUST_DECRYPTION_H

#include "trust/secret_bytes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace klb {

/// The plain text of a protected file, whose content is the base64 of a salted and encrypted text.
/// The key is derived from the system identifier, so a file that was made for another one fails.
/// \param isSigned Whether the plain text is to be an S/MIME message, or else a document.
/// \param error Says why there is no plain text, except when it is empty.
std::optional<SecretBytes> decryptContent(std::vector<char> content, std::string_view systemId,
                                          bool isSigned, std::string& error);

} // namespace klb

#endif
