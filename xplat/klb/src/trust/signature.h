#ifndef KLB_TRUST_SIGNATURE_H
#define KLB_TRUST_SIGNATURE_H

#include "core/records.h"
#include "platform/platform.h"

#include <string>
#include <string_view>

namespace klb {

/// Checks the content, an S/MIME signed message, against the record's certificate or, when it has
/// none, against the certificate file beside the toggle file and the crypto library's default
/// directory. True when the signature is good: the signed bytes are then the content. Otherwise the
/// content stays and the record's error says why.
bool verifySignature(ToggleFileRecord& record, const Platform& platform);

/// The path of the certificate file in the directory of a toggle file.
std::string certificatePathFor(std::string_view path);

} // namespace klb

#endif
