#ifndef KLB_TESTS_API_TOGGLE_HELPERS_H
#define KLB_TESTS_API_TOGGLE_HELPERS_H

#include "error_mode.h"
#include "klb.h"
#include "paths.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace klb::test {

inline constexpr const char* kOverrideToken = "cit.feature.overrides";
inline constexpr const char* kOverrideFile = "CIT_OVERRIDE.KLB";

/// The functions that serve one kind of toggles.
struct ToggleKind {
    const char* name;
    void (*registerToggle)(const char* key, bool defaultValue, const char* token);
    bool (*isRegistered)(const char* key);
    bool (*get)(const char* key);
};

inline const ToggleKind kStaticKind = {"static", &KLB_RegisterToggle, &KLB_IsToggleRegistered,
                                       &KLB_GetToggle};
inline const ToggleKind kDynamicKind = {"dynamic", &KLB_RegisterDynamicToggle,
                                        &KLB_IsDynamicToggleRegistered, &KLB_GetDynamicToggle};
inline const std::array<const ToggleKind*, 2> kBothKinds = {&kStaticKind, &kDynamicKind};

/// A document with a header for one system and these further root members, such as "a":true.
inline std::string documentFor(const std::string& systemId, std::string_view members) {
    return R"({"header":{"systemId":")" + systemId + R"("},)" + std::string(members) + "}";
}

/// A document for the system of a LibrarySession: its header, then these root members.
inline std::string documentWith(std::string_view members) {
    return documentFor("TestSystem", members);
}

/// A toggle file for that system whose "features" holds these members.
inline std::string featuresFile(std::string_view members) {
    return documentWith(R"("features":{)" + std::string(members) + "}");
}

inline void registerPlainFile(const char* token, const std::string& path) {
    KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, token, path.c_str());
}

/// Registers a static toggle and gives its value.
inline bool registeredValue(const std::string& key, bool defaultValue, const char* token) {
    KLB_RegisterToggle(key.c_str(), defaultValue, token);
    return KLB_GetToggle(key.c_str());
}

/// What the registration of a file reports that could not be loaded.
inline std::string loadErrorText(std::string_view name, const std::string& path,
                                 std::uint64_t offset = 0) {
    std::string text = "registerToggleFile: " + std::string(name) + " in file: " + path;
    if (offset != 0) {
        text += " at offset: " + std::to_string(offset);
    }
    return text;
}

inline std::string otherFileText(const std::string& firstPath) {
    return "registerToggleFile: toggle file path location as already been set to '" + firstPath +
           "'";
}

inline std::string ownedFileText(const std::string& callersToken) {
    return "registerToggleFile: toggle file path location as already been registered to '" +
           callersToken + "'";
}

/// A document with an error, and the offset at which the parser reports it.
struct DamagedDocument {
    std::string bytes;
    std::uint64_t offset;
};

/// Takes the "^" out of a text that marks a parse error's place with it.
inline DamagedDocument damagedAt(std::string_view marked) {
    const std::size_t mark = marked.find('^');
    if (mark == std::string_view::npos || marked.find('^', mark + 1) != std::string_view::npos) {
        throw std::logic_error("one place must be marked in " + std::string(marked));
    }
    return {std::string(marked.substr(0, mark)) + std::string(marked.substr(mark + 1)), mark};
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
        std::filesystem::current_path(fromUtf8(utf8));
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
