#include "platform/text_encoding_windows.h"

#include <climits>

#include <windows.h>

namespace klb {

std::string toUtf8(std::wstring_view text) {
    const std::wstring source(text);
    std::string result(4 * source.size() + 1, '\0');
    if (result.size() > INT_MAX) {
        return {};
    }
    WideCharToMultiByte(CP_UTF8, 0, source.c_str(), static_cast<int>(source.size() + 1),
                        result.data(), static_cast<int>(result.size()), nullptr, nullptr);
    return result.c_str();
}

std::wstring toUtf16(const std::string& text) {
    std::wstring result(text.size() + 1, L'\0');
    if (result.size() > INT_MAX) {
        return {};
    }
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size() + 1), result.data(),
                        static_cast<int>(result.size()));
    return result.c_str();
}

} // namespace klb
