#ifndef KLB_TRUST_CERTIFICATE_H
#define KLB_TRUST_CERTIFICATE_H

#include "core/registry.h"

namespace klb {

/// Sets the certificate that signers of protected files are checked against, once, before anything
/// is registered. Null switches the check off, until a later call with a text.
void setCertificateData(Registry& registry, const char* certificateData);

} // namespace klb

#endif
