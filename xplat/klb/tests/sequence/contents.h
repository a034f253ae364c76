#ifndef KLB_TESTS_SEQUENCE_CONTENTS_H
#define KLB_TESTS_SEQUENCE_CONTENTS_H

#include "disk_file.h"

#include <optional>
#include <string>
#include <vector>

namespace klb::test {

/// A file's bytes with what the model is told of them.
struct Content {
    /// As it stands in a printed call.
    std::string text;
    DiskFile file;
};

/// A certificate as a host passes it.
struct HostCertificate {
    /// As it stands in a printed call.
    std::string printed;
    std::optional<std::string> text;
    /// Empty when the text holds no certificate.
    std::string name;
};

/// The content with this document.
Content documentContent(const JsonValue& root);

/// Plain files with peculiar bytes: damaged ones, and some that are not.
const std::vector<Content>& peculiarContents();

/// Protected files that make_files made: good ones, those of other systems and signers, and
/// tampered ones.
const std::vector<Content>& protectedContents();

/// What may lie beside protected files, with and without certificates in it.
const std::vector<Content>& certificateContents();

/// What hosts may pass to KLB_SetCertificateData().
const std::vector<HostCertificate>& hostCertificates();

} // namespace klb::test

#endif
