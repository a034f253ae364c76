#ifndef KLB_TESTS_MODEL_LIBRARY_MODEL_H
#define KLB_TESTS_MODEL_LIBRARY_MODEL_H

#include "exports.h"
#include "manager_model.h"
#include "registry_model.h"

#include <memory>
#include <string>

namespace klb::test {

/// The library once more, for one thread: its exports, and what they lead to.
class LibraryModel : public Exports {
public:
    /// The surroundings must outlive the model. They may change between calls.
    explicit LibraryModel(const Surroundings& surroundings);
    ~LibraryModel() override;
    LibraryModel(const LibraryModel&) = delete;
    LibraryModel& operator=(const LibraryModel&) = delete;

    void init(const char* systemId, bool enableOverride) override;
    void term() override;
    bool isInitialized() override;
    void initMessageProc(KLB_MessageProc proc) override;
    void setOverridePath(const char* directory) override;
    void setCertificateData(const char* text) override;
    void initObx(IOBXUnknown* host) override;
    bool isObxInitialized() override;
    void registerToggleFile(KLB_ToggleFileType type, const char* token, const char* file) override;
    bool isToggleFileRegistered(const char* token) override;
    void registerToggle(const char* key, bool defaultValue, const char* token) override;
    void registerDynamicToggle(const char* key, bool defaultValue, const char* token) override;
    bool isToggleRegistered(const char* key) override;
    bool isDynamicToggleRegistered(const char* key) override;
    bool getToggle(const char* key) override;
    bool getDynamicToggle(const char* key) override;
    void setDynamicToggle(const char* key, bool value) override;
    void addToggleComment(const char* key, const char* comment) override;
    unsigned long long getOverrideInfoString(char* buffer, unsigned long long size) override;
    unsigned long long getDefaultToggleJson(const char* moduleName, const char* moduleVersion,
                                            char* buffer, unsigned long long size) override;

    /// The whole texts of the two reports. Only after init().
    std::string overrideInfoString() const;
    std::string defaultToggleJson(const char* moduleName, const char* moduleVersion) const;

private:
    /// What lives from init() to term().
    struct Session {
        RegistryModel registry;
        ManagerModel manager{registry};
    };

    /// Whether init() was called; reports in the name of this export when it was not.
    bool isReadyFor(const std::string& exportName) const;

    const Surroundings& surroundings_;
    HostReporter host_;
    /// Null before init() and after term().
    std::unique_ptr<Session> session_;
};

} // namespace klb::test

#endif
