#include "platform/executable_path.h"

#include "platform/text_encoding_windows.h"

#include <array>

#include <windows.h>

namespace klb {

std::optional<std::string> executablePath() {
    // A name that is cut comes back without a terminator on old systems: the last unit stays zero.
    constexpr DWORD kCapacity = 522;
    std::array<wchar_t, kCapacity + 1> name{};
    if (GetModuleFileNameW(nullptr, name.data(), kCapacity) == 0) {
        return std::nullopt;
    }
    return toUtf8(name.data());
}

} // namespace klb
