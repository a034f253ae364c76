#ifndef KLB_TESTS_LIMITS_LARGE_PROTECTED_FILE_H
#define KLB_TESTS_LIMITS_LARGE_PROTECTED_FILE_H

#include <cstdint>
#include <string>

namespace klb::test {

/// The option by which the program makes a protected file, in a process of its own: that takes more
/// memory than reading it.
constexpr const char* kMakeProtectedFile = "--make-protected-file";

/// The members around the text that makes the document of a protected file long.
constexpr const char* kDocumentBegin = R"({"features":{"a":true,"text":")";
constexpr const char* kDocumentEnd = R"(","z":true}})";

/// What a protected file is to be like.
struct ProtectedFileSizes {
    std::uint64_t document = 1'000;
    /// Of the system identifier, which is made of the letter i.
    std::uint64_t systemId = 10;
};

/// Writes a protected file, and beside it the certificate that its signer is checked against.
void makeProtectedFile(const std::string& path, const ProtectedFileSizes& sizes);

} // namespace klb::test

#endif
