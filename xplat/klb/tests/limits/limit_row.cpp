#include "limit_row.h"

#include "process_memory.h"

#include <cstdio>
#include <filesystem>

namespace klb::test {

namespace {

std::string inGibibytes(std::uint64_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f GiB", static_cast<double>(bytes) / (1 << 30));
    return text;
}

} // namespace

bool LimitRow::whole_ = false;

LimitRow::LimitRow(std::string what, LimitSizes sizes)
    : what_(std::move(what)), size_(whole_ ? sizes.whole : sizes.shortened) {}

LimitRow::~LimitRow() {
    if (whole_ && lack_.empty()) {
        const std::chrono::duration<double> seconds = time_;
        std::printf("\nROW\t%s\t%llu\t%.3f\t%llu\t%s\n", what_.c_str(),
                    static_cast<unsigned long long>(size_), seconds.count(),
                    static_cast<unsigned long long>(peakMemory()), beyond_.c_str());
    }
}

bool LimitRow::fits(std::uint64_t memory, std::uint64_t disk) {
    if (!whole_) {
        return true;
    }
    const std::uint64_t freeMemory = availableMemory();
    const std::uint64_t freeDisk =
        std::filesystem::space(std::filesystem::temp_directory_path()).available;
    if (freeMemory < memory) {
        lack_ =
            "takes " + inGibibytes(memory) + " of memory, " + inGibibytes(freeMemory) + " are free";
    } else if (freeDisk < disk) {
        lack_ =
            "takes " + inGibibytes(disk) + " of disk space, " + inGibibytes(freeDisk) + " are free";
    }
    return lack_.empty();
}

} // namespace klb::test
