#include "process_resources.h"

#include <cstdint>
#include <vector>

#include <windows.h>

namespace klb::test {

namespace {

std::int64_t allocatedBytes(HANDLE heap) {
    std::int64_t bytes = 0;
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry) != FALSE) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            bytes += entry.cbData;
        }
    }
    HeapUnlock(heap);
    return bytes;
}

std::int64_t heapBytes() {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    std::int64_t bytes = 0;
    for (HANDLE heap : heaps) {
        bytes += allocatedBytes(heap);
    }
    return bytes;
}

std::int64_t mappedBytes() {
    std::int64_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    const char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0) {
        if (region.State == MEM_COMMIT) {
            bytes += static_cast<std::int64_t>(region.RegionSize);
        }
        address = static_cast<const char*>(region.BaseAddress) + region.RegionSize;
    }
    return bytes;
}

std::int64_t handles() {
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) != FALSE && count != 0) {
        return count;
    }
    // Wine does not count handles, but gives a new one the lowest value that is free.
    HANDLE const next = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    CloseHandle(next);
    return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(next) / 4);
}

} // namespace

ProcessResources processResources() {
    return {heapBytes(), mappedBytes(), handles()};
}

} // namespace klb::test
