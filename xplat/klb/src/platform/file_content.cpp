#include "platform/file_content.h"

namespace klb {

bool readWhole(InputFile& file, std::vector<char>& content, std::uint64_t maxSize) {
    const std::optional<std::uint64_t> size = file.size();
    if (!size || *size > maxSize) {
        return false;
    }
    content.resize(static_cast<std::size_t>(*size));
    return file.read(content.data(), content.size()) == content.size();
}

} // namespace klb
