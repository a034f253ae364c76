#include "crypto_environment.h"
#include "protected_files.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#endif

namespace klb::test {

namespace {

Trust beside(std::function<void(const TempDirectory&)> put) {
    return {Trust::Host::SaysNothing, {}, std::move(put)};
}

TEST(BadCertificateFile, DirectoryIsMissing) {
    const Trust directory =
        beside([](const TempDirectory& place) { place.makeDirectory(kCertificateFile); });
    expectOutcome(made("rsa.klb"), directory, refused(kNotVerified));
    const CryptoVariable defaults("SSL_CERT_DIR", madePath("directory-of-rsa"));
    expectOutcome(made("rsa.klb"), directory, kAccepted);
}

#if !defined(_WIN32)
Trust linkTo(const std::string& target) {
    return beside([target](const TempDirectory& place) {
        std::filesystem::create_symlink(target, place.pathOf(kCertificateFile));
    });
}

TEST(BadCertificateFile, FifoAndDeviceAreMissing) {
    const Trust fifo = beside([](const TempDirectory& place) {
        ASSERT_EQ(mkfifo(place.pathOf(kCertificateFile).c_str(), 0600), 0);
    });
    const std::vector<Trust> cases = {fifo, linkTo("/dev/zero"), linkTo("/dev/null"),
                                      linkTo("/dev/tty"), linkTo(kCertificateFile)};
    for (const Trust& trust : cases) {
        expectOutcome(made("rsa.klb"), trust, refused(kNotVerified));
        const CryptoVariable defaults("SSL_CERT_DIR", madePath("directory-of-rsa"));
        expectOutcome(made("rsa.klb"), trust, kAccepted);
    }
}

TEST(BadCertificateFile, LinkToACertificateIsFollowed) {
    expectOutcome(made("rsa.klb"), linkTo(madePath("rsa.pem")), kAccepted);
    expectOutcome(made("rsa.klb"), linkTo("/no/such/file.pem"), refused(kNotVerified));
}

TEST(BadCertificateFile, UnreadableIsMissing) {
    const TempDirectory directory;
    const std::string path = directory.write("toggles.klb", made("rsa.klb"));
    const std::string certificate = directory.write(kCertificateFile, made("rsa.pem"));
    ASSERT_EQ(chmod(certificate.c_str(), 0), 0);
    const bool isRoot = geteuid() == 0;
    if (isRoot && seteuid(65534) != 0) {
        GTEST_SKIP() << "root reads everything, and cannot become someone else here";
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const LibrarySession library;
        expectOutcomeOf(observer, path, refused(kNotVerified));
    });
    if (isRoot) {
        ASSERT_EQ(seteuid(0), 0);
    }
}
#endif

TEST(BadCertificateFile, BytesOfAnyKindAreNoCertificate) {
    std::string everyByte;
    for (int i = 0; i < 256; ++i) {
        everyByte += static_cast<char>(i);
    }
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"empty", ""},
        {"one byte", "-"},
        {"zeros", std::string(1'000'000, '\0')},
        {"bytes with all bits", std::string(100'000, '\xFF')},
        {"every byte", everyByte},
        {"a first line without end", "-----BEGIN CERTIFICATE" + std::string(1'000'000, '-')},
        {"a line without end", "-----BEGIN CERTIFICATE-----\n" + std::string(1'000'000, 'A')},
        {"UTF-16", std::string("\xFF\xFE-\0-\0", 6)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(made("rsa.klb"), besideLies(c.bytes), refused(kNotVerified));
        const CryptoVariable defaults("SSL_CERT_DIR", madePath("directory-of-rsa"));
        expectOutcome(made("rsa.klb"), besideLies(c.bytes), kAccepted);
    }
}

TEST(ProtectedFileNames, MayHaveAnyCharacters) {
    for (const std::string name :
         {"caf\xC3\xA9", "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", "\xF0\x9F\x94\x91 key",
          "with spaces and.dots", "percent %s %n"}) {
        SCOPED_TRACE(name);
        inBothErrorModes([&](ErrorObserver& observer) {
            const TempDirectory directory;
            directory.makeDirectory(name);
            directory.write(name + "/mosk.cert.pem", made("rsa.pem"));
            {
                const LibrarySession library;
                expectOutcomeOf(observer,
                                directory.write(name + "/" + name + ".klb", made("rsa.klb")),
                                kAccepted);
            }
            const LibrarySession library;
            expectOutcomeOf(observer, directory.write(name + "/stranger.klb", made("stranger.klb")),
                            refused(kNotVerified));
        });
    }
}

TEST(ProtectedFileNames, MayBeLong) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        // As long as Windows takes a path without a prefix; a separator and the longest of the two
        // names follow.
        const std::size_t room =
            255 - directory.path().size() - std::string("/toggles.klb/").size();
        const std::string name(room < 200 ? room : 200, 'n');
        directory.makeDirectory(name);
        directory.write(name + "/mosk.cert.pem", made("rsa.pem"));
        const LibrarySession library;
        expectOutcomeOf(observer, directory.write(name + "/toggles.klb", made("rsa.klb")),
                        kAccepted);
    });
}

TEST(BadProtectedFile, WhatIsNoFileIsMissing) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.makeDirectory("directory");
        std::vector<std::string> paths = {directory.pathOf("missing.klb"),
                                          directory.pathOf("directory"),
                                          directory.pathOf("missing") + kSeparator + "toggles.klb"};
#if !defined(_WIN32)
        ASSERT_EQ(mkfifo(directory.pathOf("fifo").c_str(), 0600), 0);
        paths.push_back(directory.pathOf("fifo"));
        paths.push_back("/dev/zero");
#endif
        for (const std::string& path : paths) {
            SCOPED_TRACE(path);
            const LibrarySession library;
            observer.expectSilence([] { KLB_SetCertificateData(made("rsa.pem").c_str()); });
            expectOutcomeOf(observer, path, kSilence);
        }
    });
}

TEST(BadProtectedFile, MayBeLarge) {
    for (const char* file : {"long.klb", "long-opaque.klb"}) {
        SCOPED_TRACE(file);
        for (const Trust& trust : bothWaysToTrust("rsa.pem")) {
            expectOutcome(made(file), trust, kAccepted);
        }
        const std::string bytes = made(file);
        ASSERT_GT(bytes.size(), 1'000'000U);
        expectOutcome(bytes, kNobody, refused(kNotVerified));
        expectOutcome(bytes, hostGives(made("ec.pem")), refused(kNotVerified));
        expectOutcome(bytes, hostGives(made("rsa.pem")), refused(kOtherComputer), "OtherSystem");
    }
    expectOutcome(made("long-json.klb"), kCheckingOff, kAccepted);

    std::string changed = made("long.klb");
    std::size_t middle = changed.size() / 2;
    if (changed[middle] == '\n') {
        ++middle;
    }
    changed[middle] = changed[middle] == 'A' ? 'B' : 'A';
    expectOutcome(changed, hostGives(made("rsa.pem")), refused(kNotVerified));
}

TEST(BadProtectedFile, MayBeLargeAndNoProtectedFile) {
    const struct {
        const char* name;
        std::string bytes;
        std::string error;
    } cases[] = {
        {"zeros", std::string(1'000'000, '\0'), kUnreadable},
        {"line ends", std::string(1'000'000, '\n'), kUnreadable},
        {"bytes with all bits", std::string(1'000'000, '\xFF'), kUnreadable},
        {"one line of letters without end", std::string(1'000'000, 'A'), kUnreadable},
        {"equals signs", std::string(1'000'000, '='), kUnreadable},
        {"brackets", std::string(1'000'000, '['), kUnreadable},
        {"a document", featuresFile("\"a\":true,\"s\":\"" + std::string(1'000'000, 's') + "\""),
         kUnreadable},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectOutcome(c.bytes, hostGives(made("rsa.pem")), refused(c.error));
        expectOutcome(c.bytes, kCheckingOff, refused(c.error));
    }
}

TEST(TokenFirstNamedByAToggle, ItsFileIsLoadedAsProtected) {
    const TempDirectory directory;
    const std::string signedFile = directory.write("signed.klb", made("rsa.klb"));
    const std::string plainFile = directory.write("plain.json", made("document.klb"));
    for (const KLB_ToggleFileType type :
         {KLB_ToggleFileType_Unsupported, KLB_ToggleFileType_Supported, KLB_ToggleFileType_Override,
          static_cast<KLB_ToggleFileType>(3)}) {
        SCOPED_TRACE(static_cast<int>(type));
        inBothErrorModes([&](ErrorObserver& observer) {
            const auto withNamedToken = [&](const std::string& path, const Outcome& outcome) {
                const LibrarySession library;
                observer.expectSilence([] {
                    KLB_SetCertificateData(made("rsa.pem").c_str());
                    KLB_RegisterToggle("/first", false, kToken);
                });
                expectOutcomeOf(observer, path, outcome, type);
            };
            withNamedToken(signedFile, kAccepted);
            withNamedToken(plainFile, refused(kUnreadable));
        });
    }
}

TEST(TokenFirstNamedByAToggle, TogglesRegisteredBeforeTheFileKeepTheirDefaults) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string path = directory.write("toggles.klb", made("rsa.klb"));
        directory.write(kCertificateFile, made("rsa.pem"));
        const LibrarySession library;
        observer.expectSilence([&] {
            EXPECT_FALSE(registeredValue("/a", false, kToken));
            registerProtectedFile(path);
            EXPECT_FALSE(KLB_GetToggle("/a"));
            EXPECT_FALSE(registeredValue("/a", false, kToken));
            EXPECT_FALSE(registeredValue("/b", true, kToken));
        });
    });
}

TEST(TokenFirstNamedByAToggle, CheckingMayBeOffForItsFile) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string path = directory.write("toggles.klb", made("json.klb"));
        const LibrarySession library;
        observer.expectSilence([] {
            KLB_SetCertificateData(nullptr);
            KLB_RegisterToggle("/first", false, kToken);
        });
        expectOutcomeOf(observer, path, kAccepted, KLB_ToggleFileType_Supported);
    });
}

} // namespace

} // namespace klb::test
