#ifndef KLB_TESTS_SUPPORT_DEVICE_IDENTIFIER_H
#define KLB_TESTS_SUPPORT_DEVICE_IDENTIFIER_H

#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fstream>
#endif

namespace klb::test {

/// This computer's own identity as the operating system keeps it; empty when it keeps none.
inline std::string machineIdentity() {
#if defined(_WIN32)
    char guid[256] = {};
    DWORD size = sizeof guid;
    if (RegGetValueA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Cryptography", "MachineGuid",
                     RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, guid,
                     &size) != ERROR_SUCCESS) {
        return "";
    }
    std::string identity = guid;
    std::erase(identity, '-');
    return identity;
#else
    std::ifstream file("/etc/machine-id");
    std::string identity;
    std::getline(file, identity);
    return identity;
#endif
}

/// What takes the place of an empty system identifier.
inline std::string deviceIdentifier() {
    return machineIdentity().substr(0, 32);
}

} // namespace klb::test

#endif
