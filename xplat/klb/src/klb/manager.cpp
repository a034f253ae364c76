#include "klb/manager.h"

#include "registry/file_places.h"
#include "registry/toggle_files.h"
#include "registry/toggle_properties.h"
#include "reports/default_toggle_report.h"
#include "reports/override_info.h"
#include "trust/certificate.h"
#include "trust/crypto_library.h"

#include <optional>
#include <string>

namespace klb {

namespace {

constexpr std::size_t kMaxDeviceIdLength = 32;

} // namespace

KLBMgr::KLBMgr(const char* systemId, bool enableOverride, const Platform& platform) {
    registry_.systemId = systemId;
    registry_.enableOverride = enableOverride;
    registry_.platform = &platform;
}

void KLBMgr::adoptDeviceIdentity() {
    if (const std::optional<std::string> identity = registry_.platform->deviceIdentity()) {
        registry_.deviceId = identity->substr(0, kMaxDeviceIdLength);
        registry_.systemId = registry_.deviceId;
    }
}

void KLBMgr::setOverridePath(const char* overridePath) {
    klb::setOverridePath(registry_, overridePath);
}

void KLBMgr::setCertificateData(const char* certificateData) {
    klb::setCertificateData(registry_, certificateData);
}

void KLBMgr::publish(IOBXUnknown& host) {
    publication_.publish(host, static_cast<IKLBManager&>(*this));
}

void KLBMgr::withdraw() {
    publication_.withdraw();
}

bool KLBMgr::isPublished() const noexcept {
    return publication_.isPublished();
}

void KLBMgr::registerToggleFile(KLB_ToggleFileType type, const char* token, const char* file) {
    klb::registerToggleFile(registry_, type, token, file);
}

bool KLBMgr::isFeatureToggleFileRegistered(const char* token) const {
    return klb::isFeatureToggleFileRegistered(registry_, token);
}

void KLBMgr::registerToggle(const char* key, bool defaultValue, const char* token, bool isDynamic) {
    klb::registerToggle(registry_, key, defaultValue, token, isDynamic);
}

void KLBMgr::addToggleComment(const char* key, const char* comment) {
    addToggleProperty(registry_, key, "KLB_ToggleComment", comment);
}

std::uint64_t KLBMgr::getOverrideInfoString(char* buffer, std::uint64_t bufferSize) const {
    return klb::getOverrideInfoString(registry_, buffer, bufferSize);
}

std::uint64_t KLBMgr::buildDefaultToggleJson(const char* moduleName, const char* moduleVersion,
                                             char* buffer, std::uint64_t bufferSize) {
    return klb::buildDefaultToggleJson(registry_, reportDocument_, moduleName, moduleVersion,
                                       buffer, bufferSize);
}

std::unique_ptr<KLBMgr> createManager(const char* systemId, bool enableOverride,
                                      const Platform& platform) {
    auto manager = std::make_unique<KLBMgr>(systemId, enableOverride, platform);
    initializeCryptoLibrary();
    if (*systemId == '\0') {
        manager->adoptDeviceIdentity();
    }
    return manager;
}

} // namespace klb
