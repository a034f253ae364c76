#ifndef KLB_DOCUMENTS_PARSE_ERRORS_H
#define KLB_DOCUMENTS_PARSE_ERRORS_H

#include <rapidjson/error/error.h>

namespace klb {

/// The name of a parse error, as messages show it; empty for a code that has none.
const char* parseErrorName(rapidjson::ParseErrorCode code) noexcept;

} // namespace klb

#endif
