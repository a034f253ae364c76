#include "device_identifier.h"
#include "error_mode.h"
#include "klb.h"
#include "library_session.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace klb::test {
namespace {

void expectAccepted(ErrorObserver& observer, const TempDirectory& directory,
                    const std::string& systemId, const char* token) {
    const std::string file = directory.write(
        token, documentFor(systemId, R"("features":{")" + std::string(token) + R"(":true})"));
    observer.expectSilence([&] {
        registerPlainFile(token, file);
        EXPECT_TRUE(registeredValue("/" + std::string(token), false, token));
    });
}

void expectRefused(ErrorObserver& observer, const TempDirectory& directory,
                   const std::string& systemId, const char* token) {
    const std::string file = directory.write(
        token, documentFor(systemId, R"("features":{")" + std::string(token) + R"(":true})"));
    observer.expectError<std::domain_error>(loadErrorText("ErrorSystemIdDoesNotMatch", file),
                                            [&] { registerPlainFile(token, file); });
    observer.expectSilence(
        [&] { EXPECT_FALSE(registeredValue("/" + std::string(token), false, token)); });
}

TEST(DeviceIdentifier, TakesThePlaceOfTheEmptySystemIdentifier) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string identity = deviceIdentifier();
        observer.expectSilence([] { KLB_Init("", false); });
        EXPECT_TRUE(KLB_IsInitialized());
        {
            const LibrarySession session("ignored");
            expectAccepted(observer, directory, identity, "same");
            expectRefused(observer, directory, identity + "0", "longer");
            expectRefused(observer, directory, "ignored", "other");
        }
    });
}

TEST(DeviceIdentifier, IsComparedWholeAndLeavesNoEmptySystemIdentifier) {
    const std::string identity = deviceIdentifier();
    if (identity.empty()) {
        GTEST_SKIP() << "this computer has no identity";
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session("");
        expectRefused(observer, directory, "", "empty");
        expectRefused(observer, directory, identity.substr(0, identity.size() - 1), "shorter");
        std::string changed = identity;
        changed.back() = changed.back() == '0' ? '1' : '0';
        expectRefused(observer, directory, changed, "changed");
        expectAccepted(observer, directory, identity, "same");
    });
}

TEST(DeviceIdentifier, TiesTheOverrideFileToThisComputer) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        directory.write(kOverrideFile, documentFor(deviceIdentifier(), R"("a":true)"));
        const LibrarySession session("", true);
        observer.expectSilence([&] {
            KLB_SetOverridePath(directory.path().c_str());
            EXPECT_TRUE(registeredValue("/a", false, "token"));
        });
    });
}

TEST(DeviceIdentifier, IsNotUsedWithASystemIdentifier) {
    const std::string identity = deviceIdentifier();
    if (identity.empty()) {
        GTEST_SKIP() << "this computer has no identity";
    }
    inBothErrorModes([&](ErrorObserver& observer) {
        const TempDirectory directory;
        const LibrarySession session("TestSystem");
        expectRefused(observer, directory, identity, "device");
        expectAccepted(observer, directory, "TestSystem", "system");
    });
}

TEST(DeviceIdentifier, IsUsedAnewInTheNextSession) {
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        for (const char* systemId : {"", "First", ""}) {
            SCOPED_TRACE(systemId);
            const LibrarySession session(systemId);
            expectAccepted(observer, directory,
                           *systemId == '\0' ? deviceIdentifier() : std::string(systemId), "same");
        }
    });
}

} // namespace
} // namespace klb::test
