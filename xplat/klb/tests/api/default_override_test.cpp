#include "paths.h"
#include "scoped_environment.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#if !defined(KLB_PROBE_PATH)
#error "KLB_PROBE_PATH must be the full path of the program default_override_probe."
#endif

namespace klb::test {
namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr bool kIsWindows = true;
#else
constexpr bool kIsWindows = false;
#endif

const std::string kOn = R"("probe":{"toggle":true})";
const std::string kOff = R"("probe":{"toggle":false})";

std::string probeDocument(const std::string& members) {
    return documentFor("ProbeSystem", members);
}

std::FILE* openOutputOf(const fs::path& program) {
#if defined(_WIN32)
    return _wpopen((L"\"\"" + program.native() + L"\"\"").c_str(), L"rb");
#else
    return popen(("'" + program.native() + "'").c_str(), "r");
#endif
}

int closeOutput(std::FILE* output) {
#if defined(_WIN32)
    return _pclose(output);
#else
    return pclose(output);
#endif
}

/// A copy of the probe in a directory inside a temporary one, run from elsewhere.
class Probe {
public:
    /// On Windows the DLLs are put beside the program, or into another directory that the system
    /// searches for them.
    explicit Probe(const std::string& directoryName, const std::string& libraryDirectoryName = "")
        : directoryName_(directoryName) {
        root_.makeDirectory(directoryName);
        root_.makeDirectory("elsewhere");
        const fs::path original(KLB_PROBE_PATH);
        program_ = fromUtf8(root_.pathOf(directoryName)) / ("app" + original.extension().string());
        fs::copy_file(original, program_);
        if (kIsWindows) {
            const fs::path libraries = fromUtf8(
                root_.pathOf(libraryDirectoryName.empty() ? directoryName : libraryDirectoryName));
            fs::create_directories(libraries);
            for (const fs::directory_entry& each : fs::directory_iterator(original.parent_path())) {
                if (each.path().extension() == ".dll") {
                    fs::copy_file(each.path(), libraries / each.path().filename());
                }
            }
        }
    }

    /// Moves the program alone into another directory inside the temporary one.
    void moveInto(const std::string& directoryName) {
        directoryName_ = directoryName;
        const fs::path target = fromUtf8(root_.makeDirectory(directoryName)) / program_.filename();
        fs::rename(program_, target);
        program_ = target;
    }

    /// The temporary directory, as the running program knows it.
    std::string path() const {
        return toUtf8(fs::canonical(fromUtf8(root_.path())));
    }
    /// Writes a file below the temporary directory.
    void write(const std::string& name, const std::string& bytes) const {
        root_.write(name, bytes);
    }
    void writeOverride(const std::string& bytes) const {
        root_.write(directoryName_ + "/" + kOverrideFile, bytes);
    }
    std::string pathOf(const std::string& name) const {
        return root_.pathOf(name);
    }
    /// The full path of the override file, as the running program knows its own directory.
    std::string overrideFile() const {
        return toUtf8(fs::canonical(program_.parent_path())) + kSeparator + kOverrideFile;
    }

    /// Runs it and gives what it prints.
    std::string run() const {
        const WorkingDirectory elsewhere(root_.pathOf("elsewhere"));
        std::FILE* output = openOutputOf(program_);
        if (output == nullptr) {
            throw std::runtime_error("cannot run the probe");
        }
        std::string text;
        std::array<char, 4096> part{};
        for (std::size_t size = 1; size > 0;) {
            size = std::fread(part.data(), 1, part.size(), output);
            text.append(part.data(), size);
        }
        EXPECT_EQ(closeOutput(output), 0);
        return text;
    }

private:
    TempDirectory root_;
    std::string directoryName_;
    fs::path program_;
};

TEST(DefaultOverride, IsReadFromTheDirectoryOfTheExecutable) {
    const Probe probe("app");
    EXPECT_EQ(probe.run(), "false");
    probe.writeOverride(probeDocument(kOn));
    EXPECT_EQ(probe.run(), "true");
    probe.writeOverride(probeDocument(kOff));
    EXPECT_EQ(probe.run(), "false");
}

TEST(DefaultOverride, IsNotReadFromAnyOtherDirectory) {
    const Probe probe("app");
    const ScopedEnvironment programData("PROGRAMDATA", probe.pathOf("data"));
    std::filesystem::create_directories(fromUtf8(probe.pathOf("data/Mosk/Support")));
    for (const char* directory : {"elsewhere/", "data/Mosk/Support/", "data/", ""}) {
        probe.write(std::string(directory) + kOverrideFile, probeDocument(kOn));
    }
    EXPECT_EQ(probe.run(), "false");
    probe.writeOverride(probeDocument(kOn));
    EXPECT_EQ(probe.run(), "true");
}

TEST(DefaultOverride, DirectoryMayHaveAnyName) {
    for (const char* name :
         {"Program Files/App", "caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC", "a.b/c.d"}) {
        SCOPED_TRACE(name);
        const Probe probe(name);
        probe.writeOverride(probeDocument(kOn));
        EXPECT_EQ(probe.run(), "true");
        probe.writeOverride("{}");
        EXPECT_EQ(probe.run(),
                  "domain_error: " + loadErrorText("FileTooSmall", probe.overrideFile()));
    }
}

TEST(DefaultOverride, LoadErrorsNameTheFile) {
    const Probe probe("app");
    probe.writeOverride(documentFor("OtherSystem", kOn));
    EXPECT_EQ(probe.run(),
              "domain_error: " + loadErrorText("ErrorSystemIdDoesNotMatch", probe.overrideFile()));
    probe.writeOverride(R"({"a":true} more)");
    EXPECT_EQ(probe.run(), "domain_error: " + loadErrorText("ParseErrorDocumentRootNotSingular",
                                                            probe.overrideFile(), 11));
}

#if defined(_WIN32)
TEST(DefaultOverride, DirectoryOfTheLibraryDoesNotMatter) {
    const Probe probe("app", "libraries");
    const char* before = std::getenv("PATH");
    const std::string path = (before != nullptr ? before : "") + (";" + probe.pathOf("libraries"));
    const ScopedEnvironment search("PATH", path);
    probe.write(std::string("libraries/") + kOverrideFile, probeDocument(kOn));
    EXPECT_EQ(probe.run(), "false");
    probe.writeOverride(probeDocument(kOn));
    EXPECT_EQ(probe.run(), "true");
    probe.writeOverride("{}");
    EXPECT_EQ(probe.run(), "domain_error: " + loadErrorText("FileTooSmall", probe.overrideFile()));
}
#else
/// The name of a directory, some levels deep, of exactly this length.
std::string deepName(std::size_t length) {
    std::string name(length, 'd');
    for (std::size_t index = 100; index + 1 < length; index += 100) {
        name[index] = '/';
    }
    return name;
}

/// Moves the program so that its full path has exactly this length.
void moveToPathOf(Probe& probe, std::size_t length) {
    probe.moveInto(deepName(length - probe.path().size() - std::string("//app").size()));
}

TEST(DefaultOverride, LongPathIsNotCut) {
    for (const std::size_t length : {260U, 261U, 262U, 500U, 1040U}) {
        SCOPED_TRACE(length);
        Probe probe("app");
        moveToPathOf(probe, length);
        probe.writeOverride(probeDocument(kOn));
        EXPECT_EQ(probe.run(), "true");
        probe.writeOverride("{}");
        EXPECT_EQ(probe.run(),
                  "domain_error: " + loadErrorText("FileTooSmall", probe.overrideFile()));
    }
}

TEST(DefaultOverride, PathTooLongForItsBufferIsAnError) {
    for (const std::size_t length : {1041U, 1042U, 2000U}) {
        SCOPED_TRACE(length);
        Probe probe("app");
        moveToPathOf(probe, length);
        probe.writeOverride(probeDocument(kOn));
        EXPECT_EQ(probe.run(), "runtime_error: getProcessDir: Invalid path.");
    }
}
#endif

} // namespace
} // namespace klb::test
