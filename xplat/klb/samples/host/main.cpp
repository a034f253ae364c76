/// \file main.cpp
/// A small host: Meridian, an editor for maps. It starts the toggle library from a directory of
/// configuration files and shows the values that its toggles got and from where, what the library
/// had to say, and its two reports.

#include "klb.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr const char* kSystemId = "MERIDIAN-0042";
constexpr int kUsageError = 2;

struct ToggleFile {
    KLB_ToggleFileType type;
    const char* token;
    const char* name;
};

/// Anyone may edit a plain file. A protected one counts only if it was made for this system and
/// signed by the holder of the certificate beside it, mosk.cert.pem.
///
/// Two of these files are not as they should be: print_toggles.json was cut short, as by a copy
/// that was interrupted, and survey_toggles.klb was made for another system. The library reports
/// both, and the toggles of their tokens keep their defaults.
constexpr std::array kToggleFiles = {
    ToggleFile{KLB_ToggleFileType_Supported, "core", "core_toggles.json"},
    ToggleFile{KLB_ToggleFileType_Supported, "editor", "editor_toggles.json"},
    ToggleFile{KLB_ToggleFileType_Supported, "print", "print_toggles.json"},
    ToggleFile{KLB_ToggleFileType_Unsupported, "labs", "labs_toggles.klb"},
    ToggleFile{KLB_ToggleFileType_Unsupported, "survey", "survey_toggles.klb"},
};

enum class Kind { Static, Dynamic };

struct Toggle {
    const char* key;
    bool defaultValue;
    Kind kind;
    const char* token;
};

constexpr const char* kLiveTraffic = "/map/liveTraffic";

constexpr std::array kToggles = {
    Toggle{"/map/gpuRendering", true, Kind::Static, "core"},
    Toggle{"/map/hillShading", true, Kind::Static, "core"},
    Toggle{kLiveTraffic, false, Kind::Dynamic, "core"},
    Toggle{"/map/offlineCache", true, Kind::Static, "core"},
    Toggle{"/map/vectorTiles", false, Kind::Static, "core"},

    Toggle{"/sync/backgroundUpload", true, Kind::Dynamic, "core"},
    Toggle{"/sync/meteredNetworks", false, Kind::Dynamic, "core"},
    Toggle{"/sync/sharedLayers", false, Kind::Static, "core"},

    Toggle{"/editor/autosave", true, Kind::Dynamic, "editor"},
    Toggle{"/editor/export/geoPackage", false, Kind::Static, "editor"},
    Toggle{"/editor/export/shapefile", true, Kind::Static, "editor"},
    Toggle{"/editor/measureTool", true, Kind::Static, "editor"},
    Toggle{"/editor/snapping/toGrid", true, Kind::Static, "editor"},
    Toggle{"/editor/snapping/toRoads", false, Kind::Static, "editor"},
    Toggle{"/editor/spellCheck", false, Kind::Dynamic, "editor"},
    Toggle{"/editor/undoAcrossSessions", false, Kind::Static, "editor"},

    Toggle{"/print/colourProofing", false, Kind::Static, "print"},
    Toggle{"/print/cropMarks", true, Kind::Static, "print"},
    Toggle{"/print/largeFormat", false, Kind::Static, "print"},
    Toggle{"/print/livePreview", true, Kind::Dynamic, "print"},

    Toggle{"/labs/routeReplay", false, Kind::Dynamic, "labs"},
    Toggle{"/labs/terrainMesh", false, Kind::Static, "labs"},
    Toggle{"/labs/voiceSearch", false, Kind::Static, "labs"},

    Toggle{"/survey/laserScans", false, Kind::Static, "survey"},
    Toggle{"/survey/stationLog", true, Kind::Dynamic, "survey"},
};

struct Message {
    KLB_MessageType type;
    std::string text;
};

std::vector<Message>& messages() {
    static std::vector<Message> all;
    return all;
}

/// Keeps the message and nothing more: the library holds its lock while this runs.
int keepMessage(KLB_MessageType type, const char* text) {
    messages().push_back({type, text});
    return 0;
}

/// The library takes file names as UTF-8 on every platform.
std::string toUtf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/// The library is initialised for as long as this lives; the callback is there from the start.
class LibrarySession {
public:
    LibrarySession() {
        KLB_InitMessageProc(&keepMessage);
        KLB_Init(kSystemId, true);
    }
    ~LibrarySession() {
        KLB_Term();
    }
    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;
};

/// The order matters: the override path before any registration, and a file before its toggles.
void registerAll(const fs::path& configuration) {
    KLB_SetOverridePath(toUtf8(configuration).c_str());
    for (const ToggleFile& file : kToggleFiles) {
        KLB_RegisterToggleFile(file.type, file.token, toUtf8(configuration / file.name).c_str());
    }
    for (const Toggle& toggle : kToggles) {
        const auto registerToggle =
            toggle.kind == Kind::Dynamic ? &KLB_RegisterDynamicToggle : &KLB_RegisterToggle;
        registerToggle(toggle.key, toggle.defaultValue, toggle.token);
    }
    KLB_AddToggleComment("/map/vectorTiles", "Needs a graphics card with 2 GB.");
    KLB_AddToggleComment(kLiveTraffic, "Follows the user's setting.");
}

bool currentValue(const Toggle& toggle) {
    return toggle.kind == Kind::Dynamic ? KLB_GetDynamicToggle(toggle.key)
                                        : KLB_GetToggle(toggle.key);
}

const char* onOrOff(bool value) {
    return value ? "on" : "off";
}

using Report = std::function<unsigned long long(char* buffer, unsigned long long size)>;

/// The whole text of a report: the first call asks for its size, the second for the text.
std::string textOf(const Report& report) {
    const unsigned long long size = report(nullptr, 0);
    std::string text(static_cast<std::size_t>(size), '\0');
    const unsigned long long written = report(text.data(), size);
    // The count includes the NUL; an empty override information counts nothing.
    text.resize(written == 0 ? 0 : static_cast<std::size_t>(written) - 1);
    return text;
}

std::string overrideInfo() {
    return textOf(&KLB_GetOverrideInfoString);
}

std::string defaultToggleJson() {
    return textOf([](char* buffer, unsigned long long size) {
        return KLB_GetDefaultToggleJson("Meridian", "4.2", buffer, size);
    });
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The name of the file that set each toggle, by key. In the override information a line for a
/// file, "token : path", comes before the lines for its toggles, "key : value".
std::map<std::string, std::string> settingFiles() {
    constexpr std::string_view kSeparator = " : ";
    std::map<std::string, std::string> files;
    std::string file;
    for (const std::string& line : linesOf(overrideInfo())) {
        if (line.starts_with('/')) {
            files[line.substr(0, line.find(kSeparator))] = file;
        } else {
            file = line.substr(line.find_last_of("/\\") + 1);
        }
    }
    return files;
}

/// The first segment of a key, which names the part of the product.
std::string_view groupOf(std::string_view key) {
    return key.substr(0, key.find('/', 1));
}

/// Lays out the cells of one line of the table.
class Table {
public:
    Table() {
        for (const Toggle& toggle : kToggles) {
            keyWidth_ = std::max(keyWidth_, std::string_view(toggle.key).size());
        }
    }

    void printLine(std::string_view mark, std::string_view key, std::string_view defaultValue,
                   std::string_view value, std::string_view kind, std::string_view file) const {
        std::cout << std::left << std::setw(2) << mark << std::setw(width(keyWidth_)) << key
                  << std::setw(9) << defaultValue << std::setw(7) << value;
        if (file.empty()) {
            std::cout << kind << '\n';
        } else {
            std::cout << std::setw(9) << kind << file << '\n';
        }
    }

    void printHeading() const {
        printLine("", "Toggle", "Default", "Value", "Kind", "Set by");
        printLine("", std::string(keyWidth_, '-'), "-------", "-----", "-------", "------");
    }

private:
    /// With the gap to the next column.
    static int width(std::size_t characters) {
        return static_cast<int>(characters) + 2;
    }

    std::size_t keyWidth_ = 0;
};

void printToggleFiles() {
    for (const ToggleFile& file : kToggleFiles) {
        std::cout << "  " << std::left << std::setw(8) << file.token << std::setw(21) << file.name
                  << (file.type == KLB_ToggleFileType_Unsupported ? "protected" : "plain") << '\n';
    }
    std::cout << '\n';
}

void printToggles() {
    std::map<std::string, std::string> files = settingFiles();
    const Table table;
    table.printHeading();
    std::string_view group = groupOf(kToggles.front().key);
    for (const Toggle& toggle : kToggles) {
        if (groupOf(toggle.key) != group) {
            group = groupOf(toggle.key);
            std::cout << '\n';
        }
        const bool value = currentValue(toggle);
        table.printLine(value != toggle.defaultValue ? "*" : "", toggle.key,
                        onOrOff(toggle.defaultValue), onOrOff(value),
                        toggle.kind == Kind::Dynamic ? "dynamic" : "static", files[toggle.key]);
    }
    std::cout << "\n* The value differs from the default.\n";
}

/// What the product does with its toggles once it is up.
void printSessionAtWork() {
    std::cout << "\nWhile running\n\n";

    const bool before = KLB_GetDynamicToggle(kLiveTraffic);
    KLB_SetDynamicToggle(kLiveTraffic, true);
    const bool after = KLB_GetDynamicToggle(kLiveTraffic);
    std::cout << "  " << kLiveTraffic << ": was " << onOrOff(before) << ", set to "
              << onOrOff(after) << '\n';

    const char* const unknown = "/editor/timeMachine";
    std::cout << "  " << unknown << ": " << onOrOff(KLB_GetToggle(unknown))
              << ", asked for but never registered\n";
}

/// A message about a protected file has more than one line.
std::string withIndentedLines(std::string text, std::size_t indentation) {
    const std::string lineStart = "\n" + std::string(indentation, ' ');
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         end = text.find('\n', end + lineStart.size())) {
        text.replace(end, 1, lineStart);
    }
    return text;
}

void printMessages() {
    std::cout << "\nMessages from the library (" << messages().size() << ")\n\n";
    for (const Message& message : messages()) {
        std::cout << "  " << std::left << std::setw(9)
                  << (message.type == KLB_MessageType_Warning ? "warning" : "error")
                  << withIndentedLines(message.text, 11) << '\n';
    }
}

void printOverrideInfo() {
    std::cout << "\nOverride information\n\n";
    for (const std::string& line : linesOf(overrideInfo())) {
        std::cout << (line.starts_with('/') ? "    " : "  ") << line << '\n';
    }
}

/// Prints the beginning of the JSON report and writes the whole of it to a file.
void printDefaultToggleJson(const fs::path& file) {
    constexpr std::size_t kShown = 34;
    const std::string json = defaultToggleJson();
    const std::vector<std::string> lines = linesOf(json);
    std::cout << "\nToggles and their defaults\n\n";
    for (std::size_t i = 0; i < std::min(kShown, lines.size()); ++i) {
        std::cout << "  " << lines[i] << '\n';
    }
    if (lines.size() > kShown) {
        std::cout << "  ... and " << lines.size() - kShown << " lines more\n";
    }

    std::ofstream stream(file, std::ios::binary);
    if (!(stream << json).flush()) {
        throw std::runtime_error("cannot write " + toUtf8(file));
    }
    std::cout << "\nThe whole report is in " << toUtf8(file) << '\n';
}

void run(const fs::path& configuration, const fs::path& reportFile) {
    const LibrarySession session;
    registerAll(configuration);

    std::cout << "Meridian map editor, system " << kSystemId << "\nConfiguration in "
              << toUtf8(configuration) << "\n\n";
    printToggleFiles();
    printToggles();
    printSessionAtWork();
    printMessages();
    printOverrideInfo();
    printDefaultToggleJson(reportFile);
}

/// The library wants whole paths, and on Windows backslashes.
fs::path wholePath(const fs::path& path) {
    return fs::absolute(path).lexically_normal().make_preferred();
}

template <class Character>
int hostMain(int argc, Character** argv) {
    if (argc != 3) {
        std::cerr
            << "usage: klb_sample_host DIRECTORY REPORT\n"
               "Shows the feature toggles of a sample product. DIRECTORY holds its\n"
               "configuration: the toggle files, the certificate of those who sign protected\n"
               "ones, and the override file. REPORT is the file that the JSON report is\n"
               "written to.\n";
        return kUsageError;
    }
    try {
        const fs::path configuration = wholePath(argv[1]);
        if (!fs::is_directory(configuration)) {
            std::cerr << "klb_sample_host: not a directory: " << toUtf8(configuration) << '\n';
            return kUsageError;
        }
        run(configuration, wholePath(argv[2]));
    } catch (const std::exception& error) {
        std::cerr << "klb_sample_host: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return std::cout.flush() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

#if defined(_WIN32)
extern "C" int wmain(int argc, wchar_t** argv) {
    return hostMain(argc, argv);
}
#else
int main(int argc, char** argv) {
    return hostMain(argc, argv);
}
#endif
