#ifndef KLB_TESTS_MODEL_SURROUNDINGS_H
#define KLB_TESTS_MODEL_SURROUNDINGS_H

#include "disk_file.h"

#include <string>
#include <vector>

namespace klb::test {

/// A text in which a host can give a certificate.
struct CertificateText {
    std::string text;
    /// The name of its first certificate.
    std::string name;
};

/// What the library finds around it on a computer. Directories end in a separator.
struct Surroundings {
    std::string supportDirectory = {};
    std::string executableDirectory = {};
    /// Empty on a computer without one.
    std::string deviceIdentifier = {};
    /// Every other file is missing.
    std::vector<DiskFile> files = {};
    /// Every other text holds no certificate.
    std::vector<CertificateText> certificates = {};
};

/// The file that opening this path leads to, or null.
const DiskFile* openedFile(const Surroundings& surroundings, const std::string& path);

} // namespace klb::test

#endif
