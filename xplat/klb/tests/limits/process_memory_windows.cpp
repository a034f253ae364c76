#include "process_memory.h"

#include <windows.h>

#include <psapi.h>

namespace klb::test {

std::uint64_t peakMemory() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
}

std::uint64_t availableMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    GlobalMemoryStatusEx(&status);
    return status.ullAvailPhys;
}

} // namespace klb::test
