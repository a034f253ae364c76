#ifndef KLB_TESTS_API_TOGGLE_HELPERS_H
#define KLB_TESTS_API_TOGGLE_HELPERS_H

#include "klb.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

namespace klb::test {

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

/// A document for the system of a LibrarySession: its header, then these root members.
inline std::string documentWith(std::string_view members) {
    return R"({"header":{"systemId":"TestSystem"},)" + std::string(members) + "}";
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

/// Whether another thread gets through a call of the library. The thread is left to itself when it
/// does not, so that a lock that was never released fails the test instead of hanging it.
inline bool lockIsFree() {
    const auto entered = std::make_shared<std::promise<void>>();
    std::future<void> done = entered->get_future();
    std::thread caller([entered] {
        KLB_IsInitialized();
        entered->set_value();
    });
    const bool isFree = done.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    if (isFree) {
        caller.join();
    } else {
        caller.detach();
    }
    return isFree;
}

} // namespace klb::test

#endif
