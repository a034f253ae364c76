#ifndef KLB_TESTS_MODEL_RANDOM_COMPUTER_H
#define KLB_TESTS_MODEL_RANDOM_COMPUTER_H

#include "dice.h"
#include "disk_file.h"
#include "scoped_environment.h"
#include "surroundings.h"
#include "temp_directory.h"

#include <string>
#include <vector>

namespace klb::test {

/// A key out of a few short, awkward and meaningful segments.
std::string randomKey(Dice& dice);

/// One such segment, without slashes.
std::string randomSegment(Dice& dice);

/// Toggle files and override files, whole and broken ones, on disk and as the model knows them.
class RandomComputer {
public:
    explicit RandomComputer(Dice& dice);

    const Surroundings& surroundings() const {
        return surroundings_;
    }
    /// What a host can pass for a file; some of these files do not exist.
    const std::vector<std::string>& fileNames() const {
        return fileNames_;
    }
    const std::vector<std::string>& overrideDirectories() const {
        return overrideDirectories_;
    }
    /// Keys that some document says something about.
    const std::vector<std::string>& documentedKeys() const {
        return documentedKeys_;
    }

private:
    void addFile(const std::string& name, DiskFile file);
    void addToggleFile(const std::string& name, const DiskFile& file);
    void addOverrideFile(const std::string& directory, const DiskFile& file);

    TempDirectory directory_;
    ScopedEnvironment programData_;
    Surroundings surroundings_;
    std::vector<std::string> fileNames_;
    std::vector<std::string> overrideDirectories_;
    std::vector<std::string> documentedKeys_;
};

} // namespace klb::test

#endif
