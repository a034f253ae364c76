#include "klb.h"

#include "core/message_reporter.h"
#include "klb/library_state.h"
#include "registry/settings.h"
#include "registry/toggle_files.h"
#include "registry/toggles.h"
#include "reports/default_toggle_report.h"
#include "reports/override_info.h"

#include <memory>
#include <mutex>
#include <utility>

namespace klb {

LibraryState processState;

} // namespace klb

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
        klb::setOverridePath(manager->registry(), overridePath);
    }
}

void KLB_SetCertificateData(const char* certificateData) {
    const LockedManager manager;
    if (manager.orReport("KLB_SetCertificateData: KLB_Init must be called first.")) {
        klb::setCertificateData(manager->registry(), certificateData);
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
        klb::registerToggleFile(manager->registry(), toggleFileType, toggleFileToken, toggleFile);
    }
}

bool KLB_IsToggleFileRegistered(const char* toggleFileToken) {
    const LockedManager manager;
    return manager && klb::isFeatureToggleFileRegistered(manager->registry(), toggleFileToken);
}

void KLB_RegisterToggle(const char* toggleKey, bool defaultValue, const char* toggleFileToken) {
    const LockedManager manager;
    if (manager.orReport(kToggleCallBeforeInit)) {
        klb::registerToggle(manager->registry(), toggleKey, defaultValue, toggleFileToken, false);
    }
}

void KLB_RegisterDynamicToggle(const char* toggleKey, bool defaultValue,
                               const char* toggleFileToken) {
    const LockedManager manager;
    if (manager.orReport(kToggleCallBeforeInit)) {
        klb::registerToggle(manager->registry(), toggleKey, defaultValue, toggleFileToken, true);
    }
}

bool KLB_IsToggleRegistered(const char* toggleKey) {
    const LockedManager manager;
    return manager && klb::lookupToggle(manager->registry(), toggleKey, false);
}

bool KLB_IsDynamicToggleRegistered(const char* toggleKey) {
    const LockedManager manager;
    return manager && klb::lookupToggle(manager->registry(), toggleKey, true);
}

bool KLB_GetToggle(const char* toggleKey) {
    const LockedManager manager;
    return manager.orReport(kToggleCallBeforeInit) &&
           klb::getToggle(manager->registry(), toggleKey, false);
}

bool KLB_GetDynamicToggle(const char* toggleKey) {
    const LockedManager manager;
    return manager.orReport(kToggleCallBeforeInit) &&
           klb::getToggle(manager->registry(), toggleKey, true);
}

void KLB_SetDynamicToggle(const char* toggleKey, bool value) {
    const LockedManager manager;
    if (manager.orReport(kToggleCallBeforeInit)) {
        klb::setDynamicToggle(manager->registry(), toggleKey, value);
    }
}

void KLB_AddToggleComment(const char* toggleKey, const char* comment) {
    const LockedManager manager;
    if (manager.orReport("KLB_AddToggleComment: KLB_Init must be called first.")) {
        klb::addToggleComment(manager->registry(), toggleKey, comment);
    }
}

unsigned long long KLB_GetOverrideInfoString(char* buffer, unsigned long long bufferSize) {
    const LockedManager manager;
    return manager ? klb::getOverrideInfoString(manager->registry(), buffer, bufferSize) : 0;
}

unsigned long long KLB_GetDefaultToggleJson(const char* moduleName, const char* moduleVersion,
                                            char* buffer, unsigned long long bufferSize) {
    const LockedManager manager;
    return manager ? klb::buildDefaultToggleJson(manager->registry(), manager->reportDocument(),
                                                 moduleName, moduleVersion, buffer, bufferSize)
                   : 0;
}
