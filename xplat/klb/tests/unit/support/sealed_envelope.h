#ifndef KLB_TESTS_UNIT_SUPPORT_SEALED_ENVELOPE_H
#define KLB_TESTS_UNIT_SUPPORT_SEALED_ENVELOPE_H

#include <string>
#include <string_view>

namespace klb::test {

/// What a protected file has around a plain text for that system, with the same salt every time.
/// Throws std::runtime_error when the crypto library fails.
std::string sealed(std::string_view text, std::string_view systemId);

/// The base64 text of these bytes, in lines of 64 characters.
std::string inBase64Lines(std::string_view bytes);

} // namespace klb::test

#endif
