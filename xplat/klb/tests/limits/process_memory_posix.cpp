#include "process_memory.h"

#include <fstream>
#include <limits>
#include <string>

#include <sys/resource.h>

namespace klb::test {

std::uint64_t peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

std::uint64_t availableMemory() {
    std::ifstream lines("/proc/meminfo");
    std::string name;
    std::uint64_t kibibytes = 0;
    while (lines >> name >> kibibytes) {
        if (name == "MemAvailable:") {
            return kibibytes * 1024;
        }
        lines.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return 0;
}

} // namespace klb::test
