#ifndef KLB_TESTS_API_SESSIONS_H
#define KLB_TESTS_API_SESSIONS_H

#include "klb.h"
#include "library_session.h"
#include "paths.h"
#include "scoped_environment.h"
#include "temp_directory.h"

#include <string>
#include <string_view>

namespace klb::test {

/// The library with overrides enabled and the override file looked for in that directory.
struct OverridingSession {
    explicit OverridingSession(const TempDirectory& directory, const char* systemId = "TestSystem")
        : library(systemId, true) {
        KLB_SetOverridePath(directory.path().c_str());
    }

    LibrarySession library;
};

/// Makes PROGRAMDATA a temporary directory, so that the support directory is inside it.
class SupportDirectory {
public:
    SupportDirectory() : programData_("PROGRAMDATA", root_.path()) {
        root_.makeDirectory("Mosk/Support");
    }
    /// With the separator that a file name follows.
    std::string path() const {
        return root_.pathOf("Mosk/Support") + kSeparator;
    }
    void makeDirectory(const std::string& name) const {
        root_.makeDirectory("Mosk/Support/" + name);
    }
    /// Writes a file there and gives its full path, spelled as the library completes the name.
    std::string write(const std::string& name, std::string_view bytes) const {
        root_.write("Mosk/Support/" + name, bytes);
        return pathOf(name);
    }
    std::string pathOf(const std::string& name) const {
        return path() + name;
    }

private:
    TempDirectory root_;
    ScopedEnvironment programData_;
};

} // namespace klb::test

#endif
