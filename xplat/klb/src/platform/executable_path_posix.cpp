#include "platform/executable_path.h"

#include <unistd.h>

namespace klb {

std::optional<std::string> executablePath() {
    std::string name(256, '\0');
    for (;;) {
        const ssize_t length = ::readlink("/proc/self/exe", name.data(), name.size());
        if (length < 0) {
            return std::nullopt;
        }
        if (static_cast<std::size_t>(length) < name.size()) {
            name.resize(static_cast<std::size_t>(length));
            return name;
        }
        name.resize(2 * name.size());
    }
}

} // namespace klb
