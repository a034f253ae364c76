#ifndef KLB_TESTS_MODEL_EXPORTS_H
#define KLB_TESTS_MODEL_EXPORTS_H

#include "klb.h"

namespace klb::test {

/// The exports of klb.h as one object, so that a test makes the same call on the library and on its
/// model.
class Exports {
public:
    virtual ~Exports() = default;

    virtual void init(const char* systemId, bool enableOverride) = 0;
    virtual void term() = 0;
    virtual bool isInitialized() = 0;
    virtual void initMessageProc(KLB_MessageProc proc) = 0;
    virtual void setOverridePath(const char* directory) = 0;
    virtual void setCertificateData(const char* text) = 0;
    virtual void initObx(IOBXUnknown* host) = 0;
    virtual bool isObxInitialized() = 0;
    virtual void registerToggleFile(KLB_ToggleFileType type, const char* token,
                                    const char* file) = 0;
    virtual bool isToggleFileRegistered(const char* token) = 0;
    virtual void registerToggle(const char* key, bool defaultValue, const char* token) = 0;
    virtual void registerDynamicToggle(const char* key, bool defaultValue, const char* token) = 0;
    virtual bool isToggleRegistered(const char* key) = 0;
    virtual bool isDynamicToggleRegistered(const char* key) = 0;
    virtual bool getToggle(const char* key) = 0;
    virtual bool getDynamicToggle(const char* key) = 0;
    virtual void setDynamicToggle(const char* key, bool value) = 0;
    virtual void addToggleComment(const char* key, const char* comment) = 0;
    virtual unsigned long long getOverrideInfoString(char* buffer, unsigned long long size) = 0;
    virtual unsigned long long getDefaultToggleJson(const char* moduleName,
                                                    const char* moduleVersion, char* buffer,
                                                    unsigned long long size) = 0;
};

/// The library itself.
class LibraryExports final : public Exports {
public:
    void init(const char* systemId, bool enableOverride) override {
        KLB_Init(systemId, enableOverride);
    }
    void term() override {
        KLB_Term();
    }
    bool isInitialized() override {
        return KLB_IsInitialized();
    }
    void initMessageProc(KLB_MessageProc proc) override {
        KLB_InitMessageProc(proc);
    }
    void setOverridePath(const char* directory) override {
        KLB_SetOverridePath(directory);
    }
    void setCertificateData(const char* text) override {
        KLB_SetCertificateData(text);
    }
    void initObx(IOBXUnknown* host) override {
        KLB_InitOBX(host);
    }
    bool isObxInitialized() override {
        return KLB_IsOBXInitialized();
    }
    void registerToggleFile(KLB_ToggleFileType type, const char* token, const char* file) override {
        KLB_RegisterToggleFile(type, token, file);
    }
    bool isToggleFileRegistered(const char* token) override {
        return KLB_IsToggleFileRegistered(token);
    }
    void registerToggle(const char* key, bool defaultValue, const char* token) override {
        KLB_RegisterToggle(key, defaultValue, token);
    }
    void registerDynamicToggle(const char* key, bool defaultValue, const char* token) override {
        KLB_RegisterDynamicToggle(key, defaultValue, token);
    }
    bool isToggleRegistered(const char* key) override {
        return KLB_IsToggleRegistered(key);
    }
    bool isDynamicToggleRegistered(const char* key) override {
        return KLB_IsDynamicToggleRegistered(key);
    }
    bool getToggle(const char* key) override {
        return KLB_GetToggle(key);
    }
    bool getDynamicToggle(const char* key) override {
        return KLB_GetDynamicToggle(key);
    }
    void setDynamicToggle(const char* key, bool value) override {
        KLB_SetDynamicToggle(key, value);
    }
    void addToggleComment(const char* key, const char* comment) override {
        KLB_AddToggleComment(key, comment);
    }
    unsigned long long getOverrideInfoString(char* buffer, unsigned long long size) override {
        return KLB_GetOverrideInfoString(buffer, size);
    }
    unsigned long long getDefaultToggleJson(const char* moduleName, const char* moduleVersion,
                                            char* buffer, unsigned long long size) override {
        return KLB_GetDefaultToggleJson(moduleName, moduleVersion, buffer, size);
    }
};

} // namespace klb::test

#endif
