#include "platform/environment.h"

#include <cstdlib>

namespace klb {

const SupportDirectory kSupportDirectory{"%PROGRAMDATA%/Mosk/Support/", "/var/lib/Mosk/Support/"};

std::optional<std::string> expandEnvironment(std::string_view pattern) {
    const std::size_t end = pattern.find('%', 1);
    const std::string name(pattern.substr(1, end - 1));
    const char* value = std::getenv(name.c_str());
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    return std::string(value).append(pattern.substr(end + 1));
}

} // namespace klb
