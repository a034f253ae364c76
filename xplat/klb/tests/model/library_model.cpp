#include "library_model.h"

namespace klb::test {

LibraryModel::LibraryModel(const Surroundings& surroundings) : surroundings_(surroundings) {}

LibraryModel::~LibraryModel() = default;

bool LibraryModel::isReadyFor(const std::string& exportName) const {
    if (session_ == nullptr) {
        host_.stateError(exportName + ": KLB_Init must be called first.");
    }
    return session_ != nullptr;
}

void LibraryModel::init(const char* systemId, bool enableOverride) {
    if (systemId == nullptr) {
        host_.argumentError("KLB_Init: sysID must not be NULL.");
        return;
    }
    if (session_ == nullptr) {
        session_.reset(new Session{{surroundings_, host_, systemId, enableOverride}});
    }
}

void LibraryModel::term() {
    if (session_ != nullptr) {
        session_->manager.withdraw();
        session_.reset();
    }
}

bool LibraryModel::isInitialized() {
    return session_ != nullptr;
}

void LibraryModel::initMessageProc(KLB_MessageProc proc) {
    host_.callback = proc;
}

void LibraryModel::setOverridePath(const char* directory) {
    if (isReadyFor("KLB_SetOverridePath")) {
        session_->registry.setOverridePath(directory);
    }
}

void LibraryModel::setCertificateData(const char* text) {
    if (isReadyFor("KLB_SetCertificateData")) {
        session_->registry.setCertificateData(text);
    }
}

void LibraryModel::initObx(IOBXUnknown* host) {
    if (!isReadyFor("KLB_InitOBX")) {
        return;
    }
    if (host == nullptr) {
        host_.argumentError("KLB_InitOBX: pHostUnk must not be NULL.");
        return;
    }
    session_->manager.publish(host);
}

bool LibraryModel::isObxInitialized() {
    return session_ != nullptr && session_->manager.isPublished();
}

void LibraryModel::registerToggleFile(KLB_ToggleFileType type, const char* token,
                                      const char* file) {
    if (isReadyFor("KLB_RegisterToggleFile")) {
        session_->registry.registerToggleFile(type, token, file);
    }
}

bool LibraryModel::isToggleFileRegistered(const char* token) {
    return session_ != nullptr && session_->registry.isToggleFileRegistered(token);
}

void LibraryModel::registerToggle(const char* key, bool defaultValue, const char* token) {
    if (isReadyFor("KLB_RegisterToggleFile")) {
        session_->registry.registerToggle(key, defaultValue, token, false);
    }
}

void LibraryModel::registerDynamicToggle(const char* key, bool defaultValue, const char* token) {
    if (isReadyFor("KLB_RegisterToggleFile")) {
        session_->registry.registerToggle(key, defaultValue, token, true);
    }
}

bool LibraryModel::isToggleRegistered(const char* key) {
    return session_ != nullptr && session_->registry.isToggleRegistered(key, false);
}

bool LibraryModel::isDynamicToggleRegistered(const char* key) {
    return session_ != nullptr && session_->registry.isToggleRegistered(key, true);
}

bool LibraryModel::getToggle(const char* key) {
    return isReadyFor("KLB_RegisterToggleFile") && session_->registry.getToggle(key, false);
}

bool LibraryModel::getDynamicToggle(const char* key) {
    return isReadyFor("KLB_RegisterToggleFile") && session_->registry.getToggle(key, true);
}

void LibraryModel::setDynamicToggle(const char* key, bool value) {
    if (isReadyFor("KLB_RegisterToggleFile")) {
        session_->registry.setDynamicToggle(key, value);
    }
}

void LibraryModel::addToggleComment(const char* key, const char* comment) {
    if (isReadyFor("KLB_AddToggleComment")) {
        session_->registry.addToggleComment(key, comment);
    }
}

unsigned long long LibraryModel::getOverrideInfoString(char* buffer, unsigned long long size) {
    return session_ != nullptr ? deliver(overrideInfoString(), buffer, size) : 0;
}

unsigned long long LibraryModel::getDefaultToggleJson(const char* moduleName,
                                                      const char* moduleVersion, char* buffer,
                                                      unsigned long long size) {
    return session_ != nullptr ? deliver(defaultToggleJson(moduleName, moduleVersion), buffer, size)
                               : 0;
}

std::string LibraryModel::overrideInfoString() const {
    return session_->registry.overrideInfoString();
}

std::string LibraryModel::defaultToggleJson(const char* moduleName,
                                            const char* moduleVersion) const {
    return session_->registry.defaultToggleJson(moduleName, moduleVersion);
}

} // namespace klb::test
