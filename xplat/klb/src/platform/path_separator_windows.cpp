#include "platform/path_separator.h"

namespace klb {

char pathSeparator(std::string_view) noexcept {
    return '\\';
}

} // namespace klb
