#include "reports/report_buffer.h"

#include <algorithm>
#include <cstring>

namespace klb {

void ReportBuffer::append(std::string_view text) noexcept {
    if (const std::size_t count = roomFor(text.size()); count != 0) {
        std::memcpy(buffer_ + size_, text.data(), count);
    }
    size_ += text.size();
}

std::uint64_t ReportBuffer::finish() noexcept {
    const std::uint64_t needed = size_ + 1;
    if (buffer_ == nullptr) {
        return needed;
    }
    if (bufferSize_ == 0) {
        return 0;
    }
    const std::uint64_t written = std::min(needed, bufferSize_);
    buffer_[written - 1] = '\0';
    return written;
}

void ReportBuffer::fill(char c, std::size_t count) noexcept {
    if (const std::size_t fitting = roomFor(count); fitting != 0) {
        std::memset(buffer_ + size_, c, fitting);
    }
    size_ += count;
}

std::size_t ReportBuffer::roomFor(std::size_t count) const noexcept {
    const std::uint64_t left = room_ - std::min(room_, size_);
    return static_cast<std::size_t>(std::min<std::uint64_t>(left, count));
}

} // namespace klb
