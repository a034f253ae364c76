#include "computer.h"

#include "contents.h"
#include "device_identifier.h"
#include "paths.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace klb::test {

namespace {

const std::string kDirectory = "DIR";

/// The directories that are always there.
const std::vector<std::string> kDirectories = {"DIR|sub", "DIR|first", "DIR|second",
                                               "DIR|a|Mosk|Support", "DIR|b|Mosk|Support"};

/// The support directory of a computer without PROGRAMDATA.
const std::string kDefaultSupportDirectory =
    kSeparator == '/' ? "/var/lib/Mosk/Support/" : "%PROGRAMDATA%\\Mosk\\Support\\";

} // namespace

Computer::Computer() {
    for (const std::string& each : kDirectories) {
        directory_.makeDirectory(textOf(each));
    }
    surroundings_.executableDirectory = executableDirectory();
    if (std::filesystem::exists(fromUtf8(surroundings_.executableDirectory + "CIT_OVERRIDE.KLB"))) {
        throw std::logic_error("there is an override file beside this program");
    }
    surroundings_.deviceIdentifier = deviceIdentifier();
    for (const HostCertificate& each : hostCertificates()) {
        if (each.text && !each.name.empty()) {
            surroundings_.certificates.push_back({*each.text, each.name});
        }
    }
    reset();
}

void Computer::reset() {
    for (const DiskFile& file : surroundings_.files) {
        directory_.remove(file.path);
    }
    surroundings_.files.clear();
    setProgramData("DIR|a");
}

std::string Computer::textOf(const std::string& name) const {
    if (!name.starts_with(kDirectory)) {
        return name;
    }
    std::string rest = name.substr(kDirectory.size());
    std::replace(rest.begin(), rest.end(), '|', kSeparator);
    return directory_.path() + rest;
}

void Computer::write(const std::string& name, DiskFile file) {
    remove(name);
    file.path = directory_.write(textOf(name), file.bytes);
    surroundings_.files.push_back(std::move(file));
}

void Computer::remove(const std::string& name) {
    const std::string path = textOf(name);
    std::vector<DiskFile>& files = surroundings_.files;
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const DiskFile& each) { return each.path == path; });
    if (found != files.end()) {
        directory_.remove(path);
        files.erase(found);
    }
}

void Computer::setProgramData(const std::optional<std::string>& directory) {
    programData_.reset();
    if (!directory) {
        programData_.emplace("PROGRAMDATA", std::nullopt);
        surroundings_.supportDirectory = kDefaultSupportDirectory;
        return;
    }
    programData_.emplace("PROGRAMDATA", textOf(*directory));
    surroundings_.supportDirectory = textOf(*directory + "|Mosk|Support|");
}

} // namespace klb::test
