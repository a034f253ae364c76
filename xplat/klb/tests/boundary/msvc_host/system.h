#ifndef KLB_TESTS_BOUNDARY_MSVC_HOST_SYSTEM_H
#define KLB_TESTS_BOUNDARY_MSVC_HOST_SYSTEM_H

#include "text.h"

namespace host {

/// Writes to the standard output.
void print(const char* text);

[[noreturn]] void exitProcess(unsigned code);

/// A new directory for the host's files. Names and contents are ASCII.
class TempDirectory {
public:
    TempDirectory();
    /// Removes the files that write() made, and the directory.
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const char* path() const {
        return path_.get();
    }
    /// The full path of a file, whether or not it exists.
    Text pathOf(const char* name) const;
    Text write(const char* name, const char* content);

private:
    static constexpr unsigned kMaxFiles = 4;

    Text path_;
    Text files_[kMaxFiles];
    unsigned count_ = 0;
};

} // namespace host

#endif
