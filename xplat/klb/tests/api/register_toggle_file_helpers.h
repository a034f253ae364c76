#ifndef KLB_TESTS_API_REGISTER_TOGGLE_FILE_HELPERS_H
#define KLB_TESTS_API_REGISTER_TOGGLE_FILE_HELPERS_H

#include "error_mode.h"
#include "klb.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace klb::test {

inline constexpr const char* kOverrideToken = "cit.feature.overrides";
inline constexpr const char* kOverrideFile = "CIT_OVERRIDE.KLB";

/// A document with a header for one system and these further root members, such as "a":true.
inline std::string documentFor(const std::string& systemId, const std::string& members) {
    return R"({"header":{"systemId":")" + systemId + R"("},)" + members + "}";
}

inline std::string otherFileText(const std::string& firstPath) {
    return "registerToggleFile: toggle file path location as already been set to '" + firstPath +
           "'";
}

inline std::string ownedFileText(const std::string& callersToken) {
    return "registerToggleFile: toggle file path location as already been registered to '" +
           callersToken + "'";
}

/// The token's file is the one at this full path: the refusal of another one names it.
inline void expectPath(ErrorObserver& observer, const std::string& token, const std::string& path) {
    observer.expectError<std::domain_error>(
        otherFileText(path), [&] { registerPlainFile(token.c_str(), "klb-no-such\\other.json"); });
}

/// The token is known, and no file is attached to it: it can still be given one, whose path the
/// refusal of the next one names.
inline void expectNoPath(ErrorObserver& observer, const std::string& token) {
    EXPECT_TRUE(KLB_IsToggleFileRegistered(token.c_str()));
    const std::string file = "klb-no-such\\first file of " + token + ".json";
    observer.expectSilence([&] { registerPlainFile(token.c_str(), file); });
    expectPath(observer, token, file);
}

/// Makes a directory the process's current one for its lifetime.
class WorkingDirectory {
public:
    explicit WorkingDirectory(const std::string& utf8) : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(std::u8string(utf8.begin(), utf8.end()));
    }
    ~WorkingDirectory() {
        std::error_code ignored;
        std::filesystem::current_path(before_, ignored);
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
    std::filesystem::path before_;
};

} // namespace klb::test

#endif
