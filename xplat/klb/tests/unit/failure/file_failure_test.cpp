#include "error_mode.h"
#include "klb/manager.h"
#include "registry/toggle_files.h"
#include "registry/toggles.h"
#include "support/fake_platform.h"
#include "support/protected_samples.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace klb {
namespace {

using test::ErrorObserver;
using test::FakeFile;
using test::FakePlatform;
using test::inBothErrorModes;

constexpr const char* kToken = "token";
constexpr const char* kKey = "/a";
constexpr const char* kDocument = R"({"features":{"a":true}})";
constexpr const char* kOtherDocument = R"({"features":{"b":true}})";
const std::string kPlainPath = "C:\\data\\toggles.json";
const std::string kProtectedPath = "C:\\data\\toggles.klb";
const std::string kCertificatePath = "C:\\data\\mosk.cert.pem";
const std::string kOverridePath = "C:\\host\\CIT_OVERRIDE.KLB";

std::string refusal(const std::string& error, const std::string& path) {
    return "registerToggleFile: " + error + " in file: " + path;
}

/// What a file holds before it is made to fail.
std::string bytesOf(const std::string& path) {
    if (path == kPlainPath) {
        return kDocument;
    }
    if (path == kProtectedPath) {
        return test::kProtectedFile;
    }
    return path == kCertificatePath ? test::kSignerCertificate : R"({"a":true})";
}

/// One manager over files of which one is made to fail.
class Host {
public:
    explicit Host(bool enableOverride = false) {
        platform.executablePath = "C:\\host\\host.exe";
        for (const std::string& path :
             {kPlainPath, kProtectedPath, kCertificatePath, kOverridePath}) {
            platform.files[path].bytes = bytesOf(path);
        }
        manager = createManager("System", enableOverride, platform.services());
    }

    void registerPlainFile() {
        klb::registerToggleFile(manager->registry(), KLB_ToggleFileType_Supported, kToken,
                                kPlainPath.c_str());
    }
    void registerProtectedFile() {
        klb::registerToggleFile(manager->registry(), KLB_ToggleFileType_Unsupported, kToken,
                                kProtectedPath.c_str());
    }
    void registerToggle() {
        klb::registerToggle(manager->registry(), kKey, false, kToken, false);
    }
    bool value() {
        return klb::getToggle(manager->registry(), kKey, false);
    }

    FakePlatform platform;
    std::unique_ptr<KLBMgr> manager;
};

/// A kind of file that the library reads, and what a host does that makes it read one.
struct Kind {
    const char* name;
    const std::string& path;
    bool isOverride;
    void (*read)(Host& host);
};

const Kind kToggleFiles[] = {
    {"plain", kPlainPath, false, [](Host& host) { host.registerPlainFile(); }},
    {"protected", kProtectedPath, false, [](Host& host) { host.registerProtectedFile(); }},
    {"override", kOverridePath, true, [](Host& host) { host.registerToggle(); }},
};

/// For each kind of toggle file, in both error modes: a new host whose file is as asked.
void forEachToggleFile(const std::function<void(const Kind&, Host&, ErrorObserver&)>& body) {
    inBothErrorModes([&](ErrorObserver& observer) {
        for (const Kind& kind : kToggleFiles) {
            SCOPED_TRACE(kind.name);
            Host host(kind.isOverride);
            body(kind, host, observer);
        }
    });
}

/// The toggle keeps its default; nothing more is said, and the file, now a good one, is not read.
void expectRefusedForGood(const Kind& kind, Host& host, ErrorObserver& observer) {
    FakeFile& file = host.platform.files[kind.path];
    file = {.bytes = bytesOf(kind.path), .opened = file.opened};
    const int opened = file.opened;
    observer.expectSilence([&] { kind.read(host); });
    observer.expectSilence([&] { host.registerToggle(); });
    observer.expectSilence([&] { EXPECT_FALSE(host.value()); });
    EXPECT_EQ(file.opened, opened);
}

void expectValue(const Kind& kind, Host& host, ErrorObserver& observer, bool expected) {
    observer.expectSilence([&] { kind.read(host); });
    observer.expectSilence([&] { host.registerToggle(); });
    observer.expectSilence([&] { EXPECT_EQ(host.value(), expected); });
    EXPECT_EQ(host.platform.files[kind.path].opened, 1);
}

void expectError(const std::string& error, const std::function<void(FakeFile&)>& spoil) {
    forEachToggleFile([&](const Kind& kind, Host& host, ErrorObserver& observer) {
        spoil(host.platform.files[kind.path]);
        observer.expectError<std::domain_error>(refusal(error, kind.path),
                                                [&] { kind.read(host); });
        EXPECT_EQ(host.platform.files[kind.path].opened, 1);
        expectRefusedForGood(kind, host, observer);
    });
}

TEST(FileFailure, AGoodFileIsReadOnce) {
    forEachToggleFile([](const Kind& kind, Host& host, ErrorObserver& observer) {
        expectValue(kind, host, observer, true);
    });
}

TEST(FileFailure, AFileThatCannotBeOpenedIsMissingForGood) {
    forEachToggleFile([](const Kind& kind, Host& host, ErrorObserver& observer) {
        host.platform.files.erase(kind.path);
        observer.expectSilence([&] { kind.read(host); });
        expectRefusedForGood(kind, host, observer);
    });
}

TEST(FileFailure, AnUnknownSizeIsAnError) {
    expectError("UnableToReadFile", [](FakeFile& file) { file.sizeUnknown = true; });
}

TEST(FileFailure, ASizeBeyondTheLimitIsAnError) {
    expectError("UnableToReadFile", [](FakeFile& file) { file.claimedSize = 0x80000000U; });
}

TEST(FileFailure, AReadThatComesShortIsAnErrorAtEveryLength) {
    forEachToggleFile([](const Kind& kind, Host&, ErrorObserver& observer) {
        const std::string bytes = bytesOf(kind.path);
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            SCOPED_TRACE(length);
            Host host(kind.isOverride);
            FakeFile& file = host.platform.files[kind.path];
            file.bytes.resize(length);
            file.claimedSize = bytes.size();
            observer.expectError<std::domain_error>(refusal("UnableToReadFile", kind.path),
                                                    [&] { kind.read(host); });
            expectRefusedForGood(kind, host, observer);
        }
    });
}

TEST(FileFailure, AFileThatShrinksWhileItIsReadIsAnError) {
    expectError("UnableToReadFile", [](FakeFile& file) {
        file.afterSize = [](FakeFile& shrinking) { shrinking.bytes.pop_back(); };
    });
    expectError("UnableToReadFile", [](FakeFile& file) {
        file.afterSize = [](FakeFile& emptied) { emptied.bytes.clear(); };
    });
}

TEST(FileFailure, AFileThatGrowsWhileItIsReadEndsWhereItsSizeSaid) {
    forEachToggleFile([](const Kind& kind, Host& host, ErrorObserver& observer) {
        host.platform.files[kind.path].afterSize = [](FakeFile& file) {
            file.bytes += "and more than that";
        };
        expectValue(kind, host, observer, true);
    });
}

TEST(FileFailure, AFileThatGrowsFromLessThanTenBytesIsTooSmall) {
    expectError("FileTooSmall", [](FakeFile& file) {
        const std::string bytes = file.bytes;
        file.bytes.resize(9);
        file.afterSize = [bytes](FakeFile& growing) { growing.bytes = bytes; };
    });
    expectError("FileTooSmall", [](FakeFile& file) {
        const std::string bytes = file.bytes;
        file.bytes.clear();
        file.afterSize = [bytes](FakeFile& growing) { growing.bytes = bytes; };
    });
}

TEST(FileFailure, WhatIsReadCountsWhenAFileIsReplacedAfterItsSizeWasTold) {
    inBothErrorModes([](ErrorObserver& observer) {
        const auto replaceBy = [](const std::string& bytes) {
            return [bytes](FakeFile& file) { file.bytes = bytes; };
        };
        Host host;
        host.platform.files[kPlainPath] = {.bytes = kOtherDocument,
                                           .afterSize = replaceBy(kDocument)};
        expectValue(kToggleFiles[0], host, observer, true);

        // A longer one is cut.
        const std::string longer = R"({"features":{"another toggle":true,"a":true}})";
        Host cut;
        cut.platform.files[kPlainPath].afterSize = replaceBy(longer);
        observer.expectError<std::domain_error>(
            refusal("ParseErrorStringMissQuotationMark", kPlainPath) + " at offset: 23",
            [&] { cut.registerPlainFile(); });
        expectRefusedForGood(kToggleFiles[0], cut, observer);

        Host garbage;
        garbage.platform.files[kProtectedPath].afterSize = [](FakeFile& file) {
            file.bytes.assign(file.bytes.size(), '?');
        };
        observer.expectError<std::domain_error>(
            refusal("error reading input file\n", kProtectedPath),
            [&] { garbage.registerProtectedFile(); });
        expectRefusedForGood(kToggleFiles[1], garbage, observer);
    });
}

TEST(FileFailure, AFileReplacedAfterItsRegistrationIsNotReadAgain) {
    forEachToggleFile([](const Kind& kind, Host& host, ErrorObserver& observer) {
        expectValue(kind, host, observer, true);
        for (const char* later : {"", "{\"features\":{\"a\":false}}", "no document"}) {
            host.platform.files[kind.path].bytes = later;
            expectValue(kind, host, observer, true);
        }
        host.platform.files.erase(kind.path);
        observer.expectSilence([&] { kind.read(host); });
        klb::registerToggle(host.manager->registry(), "/other", true, kToken, false);
        observer.expectSilence([&] { EXPECT_TRUE(host.value()); });
    });
}

TEST(FileFailure, AFileMayBeReplacedBetweenTwoManagers) {
    forEachToggleFile([](const Kind& kind, Host& host, ErrorObserver& observer) {
        host.platform.files[kind.path].bytes.clear();
        observer.expectError<std::domain_error>(refusal("FileTooSmall", kind.path),
                                                [&] { kind.read(host); });
        host.manager = createManager("System", kind.isOverride, host.platform.services());
        host.platform.files[kind.path] = {.bytes = bytesOf(kind.path)};
        expectValue(kind, host, observer, true);
    });
}

/// A protected file beside a certificate file that is not as it should be.
void expectNoTrust(ErrorObserver& observer, const std::function<void(FakeFile&)>& spoil) {
    Host host;
    spoil(host.platform.files[kCertificatePath]);
    observer.expectError<std::domain_error>(refusal("Verification failure\n", kProtectedPath),
                                            [&] { host.registerProtectedFile(); });
    EXPECT_EQ(host.platform.files[kCertificatePath].opened, 1);
    host.platform.files[kCertificatePath].bytes = bytesOf(kCertificatePath);
    expectRefusedForGood(kToggleFiles[1], host, observer);
}

TEST(CertificateFileFailure, AFileThatCannotBeOpenedGivesNoTrust) {
    inBothErrorModes([](ErrorObserver& observer) {
        Host host;
        host.platform.files.erase(kCertificatePath);
        observer.expectError<std::domain_error>(refusal("Verification failure\n", kProtectedPath),
                                                [&] { host.registerProtectedFile(); });
        expectRefusedForGood(kToggleFiles[1], host, observer);
    });
}

TEST(CertificateFileFailure, AFileThatCannotBeReadWholeGivesNoTrust) {
    inBothErrorModes([](ErrorObserver& observer) {
        expectNoTrust(observer, [](FakeFile& file) { file.sizeUnknown = true; });
        expectNoTrust(observer, [](FakeFile& file) { file.claimedSize = ~std::uint64_t{0}; });
        expectNoTrust(observer, [](FakeFile& file) {
            file.afterSize = [](FakeFile& shrinking) { shrinking.bytes.pop_back(); };
        });
        const std::size_t size = bytesOf(kCertificatePath).size();
        for (std::size_t length = 0; length < size; ++length) {
            SCOPED_TRACE(length);
            expectNoTrust(observer, [&](FakeFile& file) {
                file.bytes.resize(length);
                file.claimedSize = size;
            });
        }
    });
}

TEST(CertificateFileFailure, WhatIsReadCounts) {
    inBothErrorModes([](ErrorObserver& observer) {
        expectNoTrust(observer, [](FakeFile& file) {
            file.afterSize = [](FakeFile& replaced) {
                replaced.bytes.assign(replaced.bytes.size(), '?');
            };
        });
        Host host;
        host.platform.files[kCertificatePath].afterSize = [](FakeFile& file) {
            file.bytes += "-----BEGIN CERTIFICATE-----\nand more than that\n";
        };
        expectValue(kToggleFiles[1], host, observer, true);
    });
}

TEST(CertificateFileFailure, TheFileIsReadForEachRegistration) {
    inBothErrorModes([](ErrorObserver& observer) {
        Host host;
        const std::string second = "C:\\data\\second.klb";
        host.platform.files[second].bytes = test::kProtectedFile;
        expectValue(kToggleFiles[1], host, observer, true);
        host.platform.files[kCertificatePath].bytes = "no certificate";
        observer.expectError<std::domain_error>(refusal("Verification failure\n", second), [&] {
            klb::registerToggleFile(host.manager->registry(), KLB_ToggleFileType_Unsupported,
                                    "second", second.c_str());
        });
        EXPECT_EQ(host.platform.files[kCertificatePath].opened, 2);
        observer.expectSilence([&] { EXPECT_TRUE(host.value()); });
    });
}

} // namespace
} // namespace klb
