#ifndef KLB_PLATFORM_PLATFORM_H
#define KLB_PLATFORM_PLATFORM_H

#include "platform/input_file.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace klb {

/// The services of the operating system that the library calls while it runs, each replaceable on
/// its own. What each promises stands in the header of the function that nativePlatform() names.
struct Platform {
    std::optional<std::string> (*executablePath)();
    std::optional<std::string> (*expandEnvironment)(std::string_view pattern);
    std::unique_ptr<InputFile> (*openInputFile)(const std::string& path);
    std::optional<std::string> (*deviceIdentity)();
};

/// The services of the system that the library was built for.
const Platform& nativePlatform() noexcept;

} // namespace klb

#endif
