#include "klb/manager.h"

#include "trust/crypto_objects.h"

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

void KLBMgr::publish(IOBXUnknown& host) {
    publication_.publish(host, static_cast<IKLBManager&>(*this));
}

void KLBMgr::withdraw() {
    publication_.withdraw();
}

bool KLBMgr::isPublished() const noexcept {
    return publication_.isPublished();
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
