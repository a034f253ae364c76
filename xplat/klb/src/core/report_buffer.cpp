#include "core/report_buffer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace klb {

std::uint64_t copyReport(std::string_view text, char* buffer, std::uint64_t bufferSize) noexcept {
    const std::uint64_t needed = std::uint64_t{text.size()} + 1;
    if (buffer == nullptr) {
        return needed;
    }
    if (bufferSize == 0) {
        return 0;
    }
    const std::uint64_t written = std::min(needed, bufferSize);
    const auto count = static_cast<std::size_t>(written - 1);
    std::memcpy(buffer, text.data(), count);
    buffer[count] = '\0';
    return written;
}

} // namespace klb
