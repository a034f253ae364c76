#ifndef KLB_TESTS_UNIT_SUPPORT_HOSTILE_FILES_H
#define KLB_TESTS_UNIT_SUPPORT_HOSTILE_FILES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace klb::test {

/// What an attacker who knows the system identifier puts into a directory: a protected file, and
/// the certificate file beside it.
struct HostileFiles {
    /// The text in the envelope of the protected file.
    std::string message;
    std::string certificates;
};

/// How many there are, at the most, of what the library counts.
struct Counts {
    std::size_t certificates = SIZE_MAX;
    std::size_t signers = SIZE_MAX;
    std::size_t digests = SIZE_MAX;
    std::size_t relativePoints = SIZE_MAX;
    std::size_t trustedCertificates = SIZE_MAX;
    std::size_t bytesOfHeaders = SIZE_MAX;
};

/// As many as the library accepts.
constexpr Counts kAcceptedCounts{.certificates = 64,
                                 .signers = 6,
                                 .digests = 16,
                                 .relativePoints = 2,
                                 .trustedCertificates = 199,
                                 .bytesOfHeaders = 16'000};

/// A way to keep libcrypto busy before it knows that nobody is to be trusted.
struct HostileShape {
    const char* name;
    /// \param size How many bytes there are at the most of what takes the time.
    HostileFiles (*make)(std::size_t size, const Counts& most);
};

const std::vector<HostileShape>& hostileShapes();

// Encoded certificates of nobody, to be put beside the signer's.

/// One of exactly so many bytes, at least 1,000.
std::string certificateOfSize(std::size_t size);
/// One with so many distribution points that go on with its issuer's name.
std::string certificateWithRelativePoints(std::size_t count);
/// One with so many entries in its subject's name, so many other names, and so many constraints of
/// names.
std::string certificateWithNames(std::size_t entries, std::size_t otherNames,
                                 std::size_t constraints);
/// One whose authority key identifier has so many names.
std::string certificateWithIssuerNames(std::size_t count);
/// One whose key describes its curve.
std::string certificateOnCurveOfItsOwn();

/// An encoded certificate as it stands in a certificate file.
std::string pemOf(std::string_view encodedCertificate);

/// An encoded message whose content of so many bytes comes in pieces of one byte, none of which
/// says how many there are.
std::string messageInPieces(std::size_t size);

/// A small message with a certificate whose key describes its curve, and behind it an element of
/// the certificates that goes beyond the message.
std::string damagedMessageWithKeyOnCurveOfItsOwn();

} // namespace klb::test

#endif
