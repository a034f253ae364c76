#include "child_process.h"
#include "large_protected_file.h"
#include "library_session.h"
#include "limit_helpers.h"
#include "limit_row.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace klb::test {

namespace {

/// Has the file made by a process of its own, whose memory is not this one's.
void makeElsewhere(const std::string& path, const ProtectedFileSizes& sizes) {
    const bench::ProgramResult result = bench::runProgram(
        testing::internal::GetArgvs().front(),
        {kMakeProtectedFile, path, std::to_string(sizes.document), std::to_string(sizes.systemId)});
    ASSERT_EQ(result.status, 0) << result.output;
}

constexpr const char* kOtherComputer =
    "The original KLB file was either corrupted or it was created for a different computer.\n";

void initialise(std::uint64_t systemIdSize) {
    KLB_Init(std::string(systemIdSize, 'i').c_str(), false);
}

void registerProtectedFile(const std::string& path) {
    KLB_RegisterToggleFile(KLB_ToggleFileType_Unsupported, "core", path.c_str());
}

TEST(Limits, ProtectedDocument) {
    LimitRow row("bytes of the document in a protected file", {kGiB / 2, 1'000'000});
    if (!row.fits(6 * kGiB, 2 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path = directory.pathOf("toggles.klb");
    makeElsewhere(path, {.document = row.size()});
    initialise(ProtectedFileSizes().systemId);
    row.timed([&] { registerProtectedFile(path); });
    EXPECT_TRUE(registeredValue("/a", false, "core"));
    EXPECT_TRUE(registeredValue("/z", false, "core"));
    KLB_Term();
    expectFileTooLarge(path);
    row.beyond("not tried; no file is longer than 2,147,483,647 bytes");
}

TEST(Limits, SystemIdentifierOfProtectedFile) {
    LimitRow row("bytes of the system identifier of a protected file", {INT32_MAX, 1'000'000});
    if (!row.fits(5 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path = directory.pathOf("toggles.klb");
    makeElsewhere(path, {.systemId = row.size()});
    row.timed([&] { initialise(row.size()); });
    row.timed([&] { registerProtectedFile(path); });
    EXPECT_TRUE(registeredValue("/a", false, "core"));
    KLB_Term();
    inBothErrorModes([&](ErrorObserver& observer) {
        initialise(row.size() + 1);
        observer.expectError<std::domain_error>(loadErrorText(kOtherComputer, path),
                                                [&] { registerProtectedFile(path); });
        EXPECT_FALSE(registeredValue("/a", false, "core"));
        KLB_Term();
    });
    row.beyond("refused as a file for a different computer");
}

TEST(Limits, CertificateData) {
    LimitRow row("bytes of the certificate data, with the certificate at its end",
                 {INT32_MAX, 1'000'000});
    if (!row.fits(6 * kGiB)) {
        GTEST_SKIP() << row.lack();
    }
    const TempDirectory directory;
    const std::string path = directory.pathOf("toggles.klb");
    makeElsewhere(path, {});
    const std::string certificatePath = directory.pathOf("mosk.cert.pem");
    std::ifstream file(fromUtf8(certificatePath), std::ios::binary);
    const std::string certificate(std::istreambuf_iterator<char>(file), {});
    file.close();
    directory.remove("mosk.cert.pem");

    std::string text(row.size() - certificate.size(), ' ');
    text.back() = '\n';
    text += certificate;
    {
        initialise(ProtectedFileSizes().systemId);
        row.timed([&] { KLB_SetCertificateData(text.c_str()); });
        registerProtectedFile(path);
        EXPECT_TRUE(registeredValue("/a", false, "core"));
        KLB_Term();
    }
    if (LimitRow::isWhole()) {
        text.insert(text.begin(), ' ');
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectError<std::domain_error>(
                "setCertificateData: can't read certificate from the certificate data provided.",
                [&] { KLB_SetCertificateData(text.c_str()); });
            observer.expectSilence([&] { KLB_SetCertificateData(certificate.c_str()); });
        });
    }
    row.beyond("\"setCertificateData: can't read certificate from the certificate data "
               "provided.\"");
}

} // namespace

} // namespace klb::test
