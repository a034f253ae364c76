#include "registry/settings.h"

#include "core/message_reporter.h"

#include <optional>
#include <stdexcept>
#include <utility>

namespace klb {

namespace {

constexpr std::string_view kOverrideFileName = "CIT_OVERRIDE.KLB";
constexpr std::size_t kMaxDirectoryLength = 1040;

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

void setCertificateData(Registry& registry, const char* certificateData) {
    SignerCheck& signers = registry.signers;
    if (signers.certificate) {
        reportDomainError("setCertificateData: certificate data has already been set.");
        return;
    }
    if (registry.anythingRegistered()) {
        reportDomainError("setCertificateData: must be called before any registration routines.");
        return;
    }
    signers.skipSignatureCheck = certificateData == nullptr;
    if (certificateData == nullptr) {
        return;
    }
    if (const char* error = readCertificate(certificateData, signers.certificate)) {
        reportDomainError(error);
    }
}

std::string overrideFilePath(const Registry& registry) {
    if (!registry.overridePath.empty()) {
        return registry.overridePath;
    }
    return getLocalFilePath(*registry.platform).append(kOverrideFileName);
}

std::string getLocalFilePath(const Platform& platform) {
    std::optional<std::string> path = platform.executablePath();
    if (!path) {
        throw std::runtime_error("getLocalFilePath: cannot get module file name path.");
    }
    const std::size_t separator = path->rfind(pathSeparator(*path));
    if (path->size() > kMaxDirectoryLength || separator == std::string::npos) {
        throw std::runtime_error("getProcessDir: Invalid path.");
    }
    path->resize(separator + 1);
    return *std::move(path);
}

std::string getSupportDirectory(const Platform& platform) {
    std::optional<std::string> directory = platform.expandEnvironment(kSupportDirectory.pattern);
    if (!directory) {
        return std::string(kSupportDirectory.fallback);
    }
    if (directory->size() > kMaxDirectoryLength) {
        directory->resize(kMaxDirectoryLength);
    }
    return *std::move(directory);
}

std::string resolveToggleFilePath(std::string_view file, const Platform& platform) {
    if (file.find(pathSeparator(file)) != std::string_view::npos) {
        return std::string(file);
    }
    return getSupportDirectory(platform).append(file);
}

} // namespace klb
