#include "klb.h"

#include "core/message_reporter.h"
#include "klb/library_state.h"

#include <memory>
#include <mutex>
#include <utility>

namespace {

using klb::LockedManager;

// Five exports besides KLB_RegisterToggleFile name it; hosts know the text like this.
constexpr const char* kToggleCallBeforeInit =
    "KLB_RegisterToggleFile: KLB_Init must be called first.";

} // namespace

void KLB_Init(const char* sysID, bool enableOverride) {
    if (sysID == nullptr) {
        klb::reportInvalidArgument("KLB_Init: sysID must not be NULL.");
        return;
    }
    klb::LibraryState& state = klb::libraryState();
    const std::lock_guard guard(state.lock);
    if (state.manager == nullptr) {
        state.manager = klb::createManager(sysID, enableOverride, klb::kNativePlatform).release();
    }
}

void KLB_Term() {
    klb::LibraryState& state = klb::libraryState();
    const std::lock_guard guard(state.lock);
    if (state.manager != nullptr) {
        state.manager->withdraw();
        const std::unique_ptr<klb::KLBMgr> manager(std::exchange(state.manager, nullptr));
    }
}

bool KLB_IsInitialized() {
    const LockedManager manager;
    return static_cast<bool>(manager);
}

void KLB_InitMessageProc(KLB_MessageProc proc) {
    const LockedManager manager;
    klb::setMessageCallback(proc);
}

void KLB_SetOverridePath(const char* overridePath) {
    const LockedManager manager;
    if (manager.orReport("KLB_SetOverridePath: KLB_Init must be called first.")) {
        manager->setOverridePath(overridePath);
    }
}

void KLB_SetCertificateData(const char* certificateData) {
    const LockedManager manager;
    if (manager.orReport("KLB_SetCertificateData: KLB_Init must be called first.")) {
        manager->setCertificateData(certificateData);
    }
}

void KLB_InitOBX(IOBXUnknown* pHostUnk) {
    const LockedManager manager;
    if (!manager.orReport("KLB_InitOBX: KLB_Init must be called first.")) {
        return;
    }
    if (pHostUnk == nullptr) {
        klb::reportInvalidArgument("KLB_InitOBX: pHostUnk must not be NULL.");
        return;
    }
    manager->publish(*pHostUnk);
}

bool KLB_IsOBXInitialized() {
    const LockedManager manager;
    return manager && manager->isPublished();
}

void KLB_RegisterToggleFile(KLB_ToggleFileType toggleFileType, const char* toggleFileToken,
                            const char* toggleFile) {
    const LockedManager manager;
    if (manager.orReport("KLB_RegisterToggleFile: KLB_Init must be called first.")) {
        manager->registerToggleFile(toggleFileType, toggleFileToken, toggleFile);
    }
}

bool KLB_IsToggleFileRegistered(const char* toggleFileToken) {
    const LockedManager manager;
    return manager && manager->isFeatureToggleFileRegistered(toggleFileToken);
}

void KLB_RegisterToggle(const char* toggleKey, bool defaultValue, const char* toggleFileToken) {
    const LockedManager manager;
    if (manager.orReport(kToggleCallBeforeInit)) {
        manager->registerToggle(toggleKey, defaultValue, toggleFileToken, false);
    }
}

void KLB_RegisterDynamicToggle(const char* toggleKey, bool defaultValue,
                               const char* toggleFileToken) {
    const LockedManager manager;
    if (manager.orReport(kToggleCallBeforeInit)) {
        manager->registerToggle(toggleKey, defaultValue, toggleFileToken, true);
    }
}

bool KLB_IsToggleRegistered(const char* toggleKey) {
    const LockedManager manager;
    if (!manager) {
        return false;
    }
    const klb::ToggleLookup toggle = manager->lookupToggle(toggleKey);
    return toggle.registered && !toggle.isDynamic;
}

bool KLB_IsDynamicToggleRegistered(const char* toggleKey) {
    const LockedManager manager;
    if (!manager) {
        return false;
    }
    const klb::ToggleLookup toggle = manager->lookupToggle(toggleKey);
    return toggle.registered && toggle.isDynamic;
}

bool KLB_GetToggle(const char* toggleKey) {
    const LockedManager manager;
    return manager.orReport(kToggleCallBeforeInit) && manager->getToggle(toggleKey, false);
}

bool KLB_GetDynamicToggle(const char* toggleKey) {
    const LockedManager manager;
    return manager.orReport(kToggleCallBeforeInit) && manager->getToggle(toggleKey, true);
}

void KLB_SetDynamicToggle(const char* toggleKey, bool value) {
    const LockedManager manager;
    if (manager.orReport(kToggleCallBeforeInit)) {
        manager->setDynamicToggle(toggleKey, value);
    }
}

void KLB_AddToggleComment(const char* toggleKey, const char* comment) {
    const LockedManager manager;
    if (manager.orReport("KLB_AddToggleComment: KLB_Init must be called first.")) {
        manager->addToggleComment(toggleKey, comment);
    }
}

unsigned long long KLB_GetOverrideInfoString(char* buffer, unsigned long long bufferSize) {
    const LockedManager manager;
    return manager ? manager->getOverrideInfoString(buffer, bufferSize) : 0;
}

unsigned long long KLB_GetDefaultToggleJson(const char* moduleName, const char* moduleVersion,
                                            char* buffer, unsigned long long bufferSize) {
    const LockedManager manager;
    return manager ? manager->buildDefaultToggleJson(moduleName, moduleVersion, buffer, bufferSize)
                   : 0;
}
