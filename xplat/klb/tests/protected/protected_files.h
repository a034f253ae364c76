#ifndef KLB_TESTS_PROTECTED_PROTECTED_FILES_H
#define KLB_TESTS_PROTECTED_PROTECTED_FILES_H

#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "lock_probe.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace klb::test {

inline constexpr const char* kSystem = "TestSystem";
inline constexpr const char* kToken = "features";
inline constexpr const char* kCertificateFile = "mosk.cert.pem";

inline const std::string kUnreadable = "error reading input file\n";
inline const std::string kBadMagic = "bad magic number\n";
inline const std::string kOtherComputer =
    "The original KLB file was either corrupted or it was created for a different computer.\n";
inline const std::string kNoMessage = "Error reading S/MIME message\n";
inline const std::string kNotVerified = "Verification failure\n";

/// The full path of a file or directory that make_files made.
inline std::string madePath(std::string_view name) {
    return KLB_PROTECTED_FILES "/" + std::string(name);
}

/// The bytes of a file that make_files made.
inline std::string made(std::string_view name) {
    std::ifstream file(madePath(name), std::ios::binary);
    if (!file) {
        throw std::runtime_error("make_files did not make " + madePath(name));
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Whom a host trusts: what it says to KLB_SetCertificateData(), and the certificate file that lies
/// beside its protected file.
struct Trust {
    enum class Host { SaysNothing, GivesCertificate, TurnsCheckingOff };

    Host host = Host::SaysNothing;
    std::string hostText;
    std::function<void(const TempDirectory&)> putBeside;

    void tellLibrary() const {
        if (host == Host::GivesCertificate) {
            KLB_SetCertificateData(hostText.c_str());
        } else if (host == Host::TurnsCheckingOff) {
            KLB_SetCertificateData(nullptr);
        }
    }
};

inline const Trust kNobody = {};
inline const Trust kCheckingOff = {Trust::Host::TurnsCheckingOff, {}, {}};

/// The host gives this text.
inline Trust hostGives(std::string pem) {
    return {Trust::Host::GivesCertificate, std::move(pem), {}};
}

/// The certificate file has these bytes, and the host says nothing.
inline Trust besideLies(const std::string& bytes) {
    return {Trust::Host::SaysNothing, {}, [bytes](const TempDirectory& directory) {
                directory.write(kCertificateFile, bytes);
            }};
}

/// Both ways to name one certificate as trusted.
inline std::vector<Trust> bothWaysToTrust(std::string_view madeCertificate) {
    return {hostGives(made(madeCertificate)), besideLies(made(madeCertificate))};
}

/// What becomes of a protected file.
struct Outcome {
    bool setsToggles;
    std::string error;
    std::uint64_t offset = 0;
};

inline const Outcome kAccepted = {true, {}};
/// No message, and no toggle set.
inline const Outcome kSilence = {false, {}};

inline Outcome refused(std::string error, std::uint64_t offset = 0) {
    return {false, std::move(error), offset};
}

/// Registers toggles of every kind against the token. The documents of make_files say the opposite
/// of the defaults of /a, /b and /c, and do not name the others.
inline void expectToggles(bool setByFile, const char* token = kToken) {
    EXPECT_EQ(registeredValue("/a", false, token), setByFile);
    EXPECT_EQ(registeredValue("/b", true, token), !setByFile);
    KLB_RegisterDynamicToggle("/c", false, token);
    EXPECT_EQ(KLB_GetDynamicToggle("/c"), setByFile);
    EXPECT_FALSE(registeredValue("/d", false, token));
    EXPECT_TRUE(registeredValue("/e", true, token));
}

inline void registerProtectedFile(const std::string& path, const char* token = kToken) {
    KLB_RegisterToggleFile(KLB_ToggleFileType_Unsupported, token, path.c_str());
}

/// Registers the file in the running session and holds message and toggles to the outcome.
inline void expectOutcomeOf(ErrorObserver& observer, const std::string& path,
                            const Outcome& outcome,
                            KLB_ToggleFileType type = KLB_ToggleFileType_Unsupported) {
    const auto registerFile = [&] { KLB_RegisterToggleFile(type, kToken, path.c_str()); };
    if (outcome.error.empty()) {
        observer.expectSilence(registerFile);
    } else {
        observer.expectError<std::domain_error>(loadErrorText(outcome.error, path, outcome.offset),
                                                registerFile);
        EXPECT_TRUE(lockIsFree());
    }
    EXPECT_TRUE(KLB_IsToggleFileRegistered(kToken));
    observer.expectSilence([&] {
        registerFile();
        expectToggles(outcome.setsToggles);
    });
}

/// Holds a protected file with these bytes to the outcome, in both error modes.
inline void expectOutcome(const std::string& bytes, const Trust& trust, const Outcome& outcome,
                          const char* system = kSystem) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.klb", bytes);
    if (trust.putBeside) {
        trust.putBeside(directory);
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library(system);
        observer.expectSilence([&] { trust.tellLibrary(); });
        expectOutcomeOf(observer, path, outcome);
    });
}

} // namespace klb::test

#endif
