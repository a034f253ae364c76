#include "platform/path_separator.h"

namespace klb {

char pathSeparator(std::string_view path) noexcept {
    return path.starts_with('/') ? '/' : '\\';
}

} // namespace klb
