#include "trust/override_path.h"

#include "core/message_reporter.h"
#include "platform/platform.h"
#include "trust/path_services.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace klb {

namespace {

constexpr std::string_view kOverrideFileName = "CIT_OVERRIDE.KLB";

} // namespace

void setOverridePath(Registry& registry, const char* overridePath) {
    if (overridePath == nullptr) {
        throw std::invalid_argument("setOverridePath: overridePath cannot be NULL.");
    }
    std::string path = overridePath;
    if (path.empty()) {
        throw std::invalid_argument("setOverridePath: overridePath cannot be empty.");
    }
    if (!registry.overridePath.empty()) {
        reportDomainError("setOverridePath: override path has already been set.");
        return;
    }
    if (registry.anythingRegistered()) {
        reportDomainError("setOverridePath: must be called before any registration routines.");
        return;
    }
    const char separator = pathSeparator(path);
    if (!path.ends_with(separator)) {
        path += separator;
    }
    path += kOverrideFileName;
    registry.overridePath = std::move(path);
}

std::string overrideFilePath(const Registry& registry) {
    if (!registry.overridePath.empty()) {
        return registry.overridePath;
    }
    return getLocalFilePath(*registry.platform).append(kOverrideFileName);
}

} // namespace klb
