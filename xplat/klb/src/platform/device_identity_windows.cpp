#include "platform/device_identity.h"

#include "platform/text_encoding_windows.h"

#include <array>

#include <windows.h>

namespace klb {

std::optional<std::string> deviceIdentity() {
    std::array<wchar_t, 256> value{};
    DWORD size = sizeof(value) - sizeof(wchar_t);
    const LSTATUS status =
        RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid",
                     RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, value.data(), &size);
    if (status != ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::string identity = toUtf8(value.data());
    std::erase(identity, '-');
    if (identity.empty()) {
        return std::nullopt;
    }
    return identity;
}

} // namespace klb
