#ifndef KLB_TRUST_DECRYPTION_H
#define KLB_TRUST_DECRYPTION_H

#include "core/records.h"

#include <string_view>

namespace klb {

/// Replaces the content of a protected file, base64 of a salted and encrypted message, by its plain
/// text. The key comes from the system identifier, so a file made for another one fails. True on
/// success; otherwise the content stays and, but for an empty plain text, the record's error says
/// why.
bool decryptContent(ToggleFileRecord& record, std::string_view systemId);

} // namespace klb

#endif
