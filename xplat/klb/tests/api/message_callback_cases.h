#ifndef KLB_TESTS_API_MESSAGE_CALLBACK_CASES_H
#define KLB_TESTS_API_MESSAGE_CALLBACK_CASES_H

#include "klb.h"
#include "library_session.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace klb::test {

/// Long enough for any call of these tests on a busy machine; only a failing test waits for it.
inline constexpr std::chrono::seconds kPatience{10};

/// A thread that makes one call of the library.
class Entrant {
public:
    explicit Entrant(std::function<void()> call) {
        std::promise<void> started;
        std::future<void> running = started.get_future();
        std::promise<void> through;
        through_ = through.get_future();
        thread_ = std::thread([call = std::move(call), started = std::move(started),
                               through = std::move(through)]() mutable {
            started.set_value();
            call();
            through.set_value();
        });
        running.wait();
    }
    ~Entrant() {
        // A thread that waits for ever must not keep the failing test from ending.
        if (throughWithin(kPatience)) {
            thread_.join();
        } else {
            ADD_FAILURE() << "a call never came through the library lock";
            thread_.detach();
        }
    }
    Entrant(const Entrant&) = delete;
    Entrant& operator=(const Entrant&) = delete;

    bool throughWithin(std::chrono::milliseconds time) const {
        return through_.wait_for(time) == std::future_status::ready;
    }

private:
    std::future<void> through_;
    std::thread thread_;
};

/// Installs a callback for its lifetime; afterwards none is installed.
class ScopedCallback {
public:
    explicit ScopedCallback(KLB_MessageProc callback) {
        KLB_InitMessageProc(callback);
    }
    ~ScopedCallback() {
        KLB_InitMessageProc(nullptr);
    }
    ScopedCallback(const ScopedCallback&) = delete;
    ScopedCallback& operator=(const ScopedCallback&) = delete;
};

enum class Thrown {
    InvalidArgument,
    DomainError,
    AlwaysInvalidArgument ///< Thrown with a callback installed, too.
};

/// One call that meets an error.
struct ErrorCase {
    std::string name;
    bool initialised;
    std::function<void()> prepare; ///< Silent calls made before; may be empty.
    std::function<void()> call;
    Thrown thrown;
    std::string text;
};

/// Every export that needs the manager, with good arguments and with arguments that it would
/// refuse: the missing manager comes first. Five exports name another one than themselves, on
/// purpose.
inline std::vector<ErrorCase> errorsBeforeInit() {
    const auto refused = [](std::string name, std::string named, std::function<void()> call) {
        return ErrorCase{std::move(name),
                         false,
                         nullptr,
                         std::move(call),
                         Thrown::DomainError,
                         std::move(named) + ": KLB_Init must be called first."};
    };
    return {
        refused("SetOverridePath", "KLB_SetOverridePath", [] { KLB_SetOverridePath("D:\\cfg"); }),
        refused("SetOverridePath, null", "KLB_SetOverridePath",
                [] { KLB_SetOverridePath(nullptr); }),
        refused("SetOverridePath, empty", "KLB_SetOverridePath", [] { KLB_SetOverridePath(""); }),
        refused("SetCertificateData", "KLB_SetCertificateData",
                [] { KLB_SetCertificateData("not PEM"); }),
        refused("SetCertificateData, null", "KLB_SetCertificateData",
                [] { KLB_SetCertificateData(nullptr); }),
        refused("InitOBX, null", "KLB_InitOBX", [] { KLB_InitOBX(nullptr); }),
        refused("RegisterToggleFile", "KLB_RegisterToggleFile",
                [] { KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, "token", "f.json"); }),
        refused("RegisterToggleFile, bad type", "KLB_RegisterToggleFile",
                [] { KLB_RegisterToggleFile(KLB_ToggleFileType_Invalid, "token", "f"); }),
        refused("RegisterToggleFile, null", "KLB_RegisterToggleFile",
                [] { KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, nullptr, nullptr); }),
        refused("RegisterToggle", "KLB_RegisterToggleFile",
                [] { KLB_RegisterToggle("/a", true, "token"); }),
        refused("RegisterToggle, null", "KLB_RegisterToggleFile",
                [] { KLB_RegisterToggle(nullptr, true, nullptr); }),
        refused("RegisterDynamicToggle", "KLB_RegisterToggleFile",
                [] { KLB_RegisterDynamicToggle("/d", true, "token"); }),
        refused("RegisterDynamicToggle, null", "KLB_RegisterToggleFile",
                [] { KLB_RegisterDynamicToggle(nullptr, true, nullptr); }),
        refused("GetToggle", "KLB_RegisterToggleFile", [] { EXPECT_FALSE(KLB_GetToggle("/a")); }),
        refused("GetToggle, null", "KLB_RegisterToggleFile",
                [] { EXPECT_FALSE(KLB_GetToggle(nullptr)); }),
        refused("GetToggle, malformed", "KLB_RegisterToggleFile",
                [] { EXPECT_FALSE(KLB_GetToggle("a")); }),
        refused("GetDynamicToggle", "KLB_RegisterToggleFile",
                [] { EXPECT_FALSE(KLB_GetDynamicToggle("/d")); }),
        refused("GetDynamicToggle, null", "KLB_RegisterToggleFile",
                [] { EXPECT_FALSE(KLB_GetDynamicToggle(nullptr)); }),
        refused("SetDynamicToggle", "KLB_RegisterToggleFile",
                [] { KLB_SetDynamicToggle("/d", true); }),
        refused("SetDynamicToggle, null", "KLB_RegisterToggleFile",
                [] { KLB_SetDynamicToggle(nullptr, true); }),
        refused("AddToggleComment", "KLB_AddToggleComment",
                [] { KLB_AddToggleComment("/a", "comment"); }),
        refused("AddToggleComment, null", "KLB_AddToggleComment",
                [] { KLB_AddToggleComment(nullptr, nullptr); }),
    };
}

/// Errors of an initialised library. The directory takes the files that some of them need.
inline std::vector<ErrorCase> errorsAfterInit(const TempDirectory& directory) {
    const Thrown invalid = Thrown::InvalidArgument;
    const Thrown always = Thrown::AlwaysInvalidArgument;
    const Thrown domain = Thrown::DomainError;
    const std::string missing = directory.pathOf("missing.json");
    const std::string small = directory.write("small.json", "{\"a\": 1 }");
    const std::string directoryPath = directory.path();

    const auto file = [missing] { registerPlainFile("token", missing); };
    const auto overridePath = [directoryPath] { KLB_SetOverridePath(directoryPath.c_str()); };
    const auto toggle = [] { KLB_RegisterToggle("/static", false, "token"); };
    const auto dynamicToggle = [] { KLB_RegisterDynamicToggle("/dynamic", false, "token"); };
    const KLB_ToggleFileType plain = KLB_ToggleFileType_Supported;

    return {
        {"type 0", true, nullptr,
         [missing] {
             KLB_RegisterToggleFile(KLB_ToggleFileType_Invalid, "token", missing.c_str());
         },
         invalid, "registerToggleFile: toggleFileType is an unknown toggle file type."},
        {"null token", true, nullptr,
         [missing] { KLB_RegisterToggleFile(plain, nullptr, missing.c_str()); }, invalid,
         "registerToggleFile: toggleFileToken cannot be NULL."},
        {"null file", true, nullptr, [] { KLB_RegisterToggleFile(plain, "token", nullptr); },
         invalid, "registerToggleFile: toggleFile cannot be NULL."},
        {"empty file", true, nullptr, [] { KLB_RegisterToggleFile(plain, "token", ""); }, invalid,
         "registerToggleFile: toggleFile cannot be empty."},
        {"token with another file", true, file, [small] { registerPlainFile("token", small); },
         domain, otherFileText(missing)},
        {"file of another token", true, file, [missing] { registerPlainFile("second", missing); },
         domain, ownedFileText("second")},
        {"damaged file", true, nullptr, [small] { registerPlainFile("token", small); }, domain,
         loadErrorText("FileTooSmall", small)},
        {"null token asked for", true, nullptr, [] { KLB_IsToggleFileRegistered(nullptr); },
         invalid, "isFeatureToggleFileRegistered: toggleFileToken cannot be NULL."},
        {"null override path", true, nullptr, [] { KLB_SetOverridePath(nullptr); }, always,
         "setOverridePath: overridePath cannot be NULL."},
        {"empty override path", true, nullptr, [] { KLB_SetOverridePath(""); }, always,
         "setOverridePath: overridePath cannot be empty."},
        {"second override path", true, overridePath, overridePath, domain,
         "setOverridePath: override path has already been set."},
        {"late override path", true, toggle, overridePath, domain,
         "setOverridePath: must be called before any registration routines."},
        {"toggle without key", true, nullptr, [] { KLB_RegisterToggle(nullptr, true, "token"); },
         invalid, "registerToggle: toggleKey cannot be NULL."},
        {"dynamic toggle without token", true, nullptr,
         [] { KLB_RegisterDynamicToggle("/dynamic", true, nullptr); }, invalid,
         "registerToggle: toggleFileToken cannot be NULL."},
        {"toggle of another token", true, toggle,
         [] { KLB_RegisterToggle("/static", false, "second"); }, domain,
         "registerToggle: /static already registred in "},
        {"null static key asked for", true, nullptr, [] { KLB_IsToggleRegistered(nullptr); },
         always, "getToggle: toggleKey cannot be NULL."},
        {"null dynamic key asked for", true, nullptr,
         [] { KLB_IsDynamicToggleRegistered(nullptr); }, always,
         "getToggle: toggleKey cannot be NULL."},
        {"null key queried", true, nullptr, [] { KLB_GetToggle(nullptr); }, invalid,
         "getToggle: toggleKey cannot be NULL."},
        {"empty key queried", true, nullptr, [] { KLB_GetToggle(""); }, invalid,
         "getToggle: key cannot be an empty string."},
        {"key without slash queried", true, nullptr, [] { KLB_GetDynamicToggle("a"); }, invalid,
         "getToggle: key must start with '/' character."},
        {"dynamic toggle queried as static", true, dynamicToggle, [] { KLB_GetToggle("/dynamic"); },
         domain, "getToggle: key is a mutable."},
        {"static toggle queried as dynamic", true, toggle, [] { KLB_GetDynamicToggle("/static"); },
         domain, "getToggle: key is is immutable after initialization."},
        {"null key changed", true, nullptr, [] { KLB_SetDynamicToggle(nullptr, true); }, invalid,
         "setDynamicToggle: toggleKey cannot be NULL."},
        {"empty key changed", true, nullptr, [] { KLB_SetDynamicToggle("", true); }, invalid,
         "setDynamicToggle: key cannot be an empty string."},
        {"key without slash changed", true, nullptr, [] { KLB_SetDynamicToggle("a", true); },
         invalid, "setDynamicToggle: key must start with '/' character."},
        {"static toggle changed", true, toggle, [] { KLB_SetDynamicToggle("/static", true); },
         domain,
         "setDynamicToggle: key was not registered as a mutable so it cannot be changed after "
         "initialization."},
        {"comment without key", true, nullptr, [] { KLB_AddToggleComment(nullptr, "text"); },
         invalid, "addToggleProperty: toggleKey cannot be NULL."},
        {"comment for an empty key", true, nullptr, [] { KLB_AddToggleComment("", "text"); },
         invalid, "addToggleProperty: key cannot be an empty string."},
        {"comment for a key without slash", true, nullptr,
         [] { KLB_AddToggleComment("a", "text"); }, invalid,
         "addToggleProperty: key must start with '/' character."},
        {"null comment", true, toggle, [] { KLB_AddToggleComment("/static", nullptr); }, invalid,
         "addToggleProperty: propertyValue cannot be NULL."},
        {"comment for an unknown key", true, nullptr, [] { KLB_AddToggleComment("/a", "text"); },
         domain,
         "addToggleProperty: key, /a, was not registered. Please call RegisterToggle first."},
    };
}

/// Every error above, KLB_Init()'s aside: its check takes no lock.
inline std::vector<ErrorCase> allErrors(const TempDirectory& directory) {
    std::vector<ErrorCase> all = errorsBeforeInit();
    for (ErrorCase& each : errorsAfterInit(directory)) {
        all.push_back(std::move(each));
    }
    return all;
}

/// The state that a case needs.
class CaseSession {
public:
    explicit CaseSession(const ErrorCase& each) {
        if (each.initialised) {
            session_.emplace();
        }
        if (each.prepare) {
            each.prepare();
        }
    }

private:
    std::optional<LibrarySession> session_;
};

} // namespace klb::test

#endif
