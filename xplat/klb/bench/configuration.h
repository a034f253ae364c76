#ifndef KLB_BENCH_CONFIGURATION_H
#define KLB_BENCH_CONFIGURATION_H

#include "library_session.h"
#include "temp_directory.h"
#include "toggle_sets.h"

#include "klb.h"

#include <string>

namespace klb::bench {

inline constexpr const char* kSystemId = "BenchSystem";
inline constexpr const char* kToken = "bench";

enum class Overrides { kOff, kOn };

/// A toggle file and an override file that both know the toggles of a set.
class Configuration {
public:
    Configuration(const Shape& shape, std::size_t count)
        : Configuration(makeMembers(shape, count)) {}

    const std::string& file() const {
        return file_;
    }
    const std::string& directory() const {
        return directory_;
    }

private:
    explicit Configuration(const std::string& members)
        : file_(files_.write("toggles.json", toggleFileText(members))), directory_(files_.path()) {
        files_.write("CIT_OVERRIDE.KLB", overrideFileText(members));
    }

    klb::test::TempDirectory files_;
    std::string file_;
    std::string directory_;
};

/// A library that has loaded the files of a configuration and knows no toggle that they set.
class LoadedSession {
public:
    LoadedSession(const Configuration& configuration, Overrides overrides)
        : session_(kSystemId, overrides == Overrides::kOn) {
        if (overrides == Overrides::kOn) {
            KLB_SetOverridePath(configuration.directory().c_str());
        }
        KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, kToken, configuration.file().c_str());
        // Loads the override file. A key without a slash is looked for in no document.
        KLB_RegisterToggle("warm-up", false, kToken);
    }

private:
    klb::test::LibrarySession session_;
};

} // namespace klb::bench

#endif
