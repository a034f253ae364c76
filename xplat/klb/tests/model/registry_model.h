#ifndef KLB_TESTS_MODEL_REGISTRY_MODEL_H
#define KLB_TESTS_MODEL_REGISTRY_MODEL_H

#include "disk_file.h"
#include "message_recorder.h"
#include "toggle_registry.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace klb::test {

/// What the library finds around it on a computer. Directories end in a separator.
struct Surroundings {
    std::string supportDirectory;
    std::string executableDirectory;
    /// Empty on a computer without one.
    std::string deviceIdentifier;
    /// Every other file is missing. Paths that differ only in their kind of slash name one file.
    std::vector<DiskFile> files;
};

/// The library once more, as naive as its promises can be written down: lists, linear search, and a
/// JSON writer of its own. It behaves like a library with a message callback installed.
class RegistryModel final : public ToggleRegistry {
public:
    /// The surroundings must outlive the model.
    explicit RegistryModel(const Surroundings& surroundings);
    ~RegistryModel() override;
    RegistryModel(const RegistryModel&) = delete;
    RegistryModel& operator=(const RegistryModel&) = delete;

    /// What the callback received since construction or the last call; forgets it.
    std::vector<Message> takeMessages();

    void init(const char* systemId, bool enableOverride) override;
    void term() override;
    void setOverridePath(const char* directory) override;
    void registerToggleFile(KLB_ToggleFileType type, const char* token, const char* file) override;
    void registerToggle(const char* key, bool defaultValue, const char* token) override;
    void registerDynamicToggle(const char* key, bool defaultValue, const char* token) override;
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
    struct File;
    struct Toggle;
    struct Session;
    /// A place in Session::files.
    using FileIndex = std::size_t;

    void reportError(const std::string& text);
    /// Whether init() was called; reports in the name of the export when it was not.
    bool isReadyFor(const std::string& exportName);
    /// Whether this is a key that can be asked for; reports when it is not.
    bool isGoodKey(const std::string& operation, const char* key);

    FileIndex fileOfToken(KLB_ToggleFileType type, const std::string& token);
    void attachFile(KLB_ToggleFileType type, const char* token, const char* name);
    const DiskFile* findOnDisk(const std::string& path) const;
    const DiskFile* load(File& file) const;

    void addToggle(const char* key, bool defaultValue, const char* token, bool isDynamic);
    void attachOverrideFile();
    Toggle* findToggle(const std::string& key);
    bool value(const char* key, bool dynamic);
    static void setValue(Toggle& toggle, bool value);
    static void addProperty(Toggle& toggle, const std::string& name, const JsonValue& value);

    const Surroundings& surroundings_;
    /// Null before init() and after term().
    std::unique_ptr<Session> session_;
    std::vector<Message> messages_;
};

} // namespace klb::test

#endif
