#include "platform/environment.h"

#include "platform/text_encoding_windows.h"

#include <array>

#include <windows.h>

namespace klb {

const SupportDirectory kSupportDirectory{"%PROGRAMDATA%\\Mosk\\Support\\",
                                         "C:\\ProgramData\\Mosk\\Support\\"};

std::optional<std::string> expandEnvironment(std::string_view pattern) {
    constexpr DWORD kCapacity = 260;
    // An expansion that does not fit is used as far as it was written; the last unit stays zero.
    std::array<wchar_t, kCapacity + 1> expansion{};
    const std::wstring source = toUtf16(std::string(pattern));
    if (ExpandEnvironmentStringsW(source.c_str(), expansion.data(), kCapacity) == 0) {
        return std::nullopt;
    }
    return toUtf8(expansion.data());
}

} // namespace klb
