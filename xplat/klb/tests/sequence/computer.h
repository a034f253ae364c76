#ifndef KLB_TESTS_SEQUENCE_COMPUTER_H
#define KLB_TESTS_SEQUENCE_COMPUTER_H

#include "scoped_environment.h"
#include "surroundings.h"
#include "temp_directory.h"

#include <optional>
#include <string>
#include <vector>

namespace klb::test {

/// The computer that the library runs on: real files, and what the model is told of them.
///
/// Names that begin with DIR are paths in a directory of its own, with "|" for the platform's
/// separator. Any other name stands for itself.
class Computer {
public:
    Computer();

    /// Without files, and with the support directory below DIR|a.
    void reset();

    const Surroundings& surroundings() const {
        return surroundings_;
    }

    /// The text that a name stands for.
    std::string textOf(const std::string& name) const;

    /// Writes a file, in place of an earlier one.
    void write(const std::string& name, DiskFile file);

    /// Removes a file if there is one.
    void remove(const std::string& name);

    /// Sets PROGRAMDATA to a directory, or takes it away.
    void setProgramData(const std::optional<std::string>& directory);

private:
    TempDirectory directory_;
    std::optional<ScopedEnvironment> programData_;
    Surroundings surroundings_;
};

} // namespace klb::test

#endif
