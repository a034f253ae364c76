#ifndef KLB_PLATFORM_TEXT_ENCODING_WINDOWS_H
#define KLB_PLATFORM_TEXT_ENCODING_WINDOWS_H

#include <string>
#include <string_view>

namespace klb {

/// The UTF-8 form of a UTF-16 text, up to its first zero unit; empty when it cannot be converted.
std::string toUtf8(std::wstring_view text);

/// The UTF-16 form of a UTF-8 text, up to its first zero byte; empty when it cannot be converted.
std::wstring toUtf16(const std::string& text);

} // namespace klb

#endif
