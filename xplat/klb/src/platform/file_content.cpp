#include "platform/file_content.h"

#include <limits>

namespace klb {

bool readWhole(InputFile& file, std::vector<char>& content) {
    constexpr std::uint64_t kMaxSize = std::numeric_limits<std::int32_t>::max();
    const std::optional<std::uint64_t> size = file.size();
    if (!size || *size > kMaxSize) {
        return false;
    }
    content.resize(static_cast<std::size_t>(*size));
    return file.read(content.data(), content.size()) == content.size();
}

} // namespace klb
