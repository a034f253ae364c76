#ifndef KLB_TESTS_MODEL_REGISTRY_MODEL_H
#define KLB_TESTS_MODEL_REGISTRY_MODEL_H

#include "host_reporter.h"
#include "surroundings.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace klb::test {

/// Thrown where the outcome hangs on the bytes that a wrong key makes of a file: with signatures
/// unchecked, one key in 256 leaves a "{" in front. The model is of no use afterwards.
struct DependsOnChance {};

/// What the library does between KLB_Init() and KLB_Term(), as naive as its promises can be written
/// down: lists, linear search, and a JSON writer of its own.
class RegistryModel {
public:
    /// Both references must outlive the model.
    RegistryModel(const Surroundings& surroundings, const HostReporter& host,
                  const std::string& systemId, bool enableOverride);

    void setOverridePath(const char* directory);
    void setCertificateData(const char* text);
    void registerToggleFile(KLB_ToggleFileType type, const char* token, const char* name);
    bool isToggleFileRegistered(const char* token) const;
    void registerToggle(const char* key, bool defaultValue, const char* token, bool isDynamic);
    /// Whether this is the key of a registered toggle of this kind.
    bool isToggleRegistered(const char* key, bool isDynamic) const;
    bool getToggle(const char* key, bool asDynamic) const;
    void setDynamicToggle(const char* key, bool value);
    void addToggleComment(const char* key, const char* comment);

    std::string overrideInfoString() const;
    std::string defaultToggleJson(const char* moduleName, const char* moduleVersion) const;

private:
    /// Places in files_ and toggles_.
    using FileIndex = std::size_t;
    using ToggleIndex = std::size_t;

    /// A toggle file's token, with or without a file.
    struct File {
        KLB_ToggleFileType type = KLB_ToggleFileType_Invalid;
        std::string token;
        std::string name;
        std::string path;
        std::string error;
        unsigned long long errorOffset = 0;
        bool isMissing = false;
        std::optional<JsonValue> document;
        std::optional<std::string> certificate;
        bool skipsSignatureCheck = false;
        std::vector<ToggleIndex> differing;
    };

    struct Toggle {
        std::string key;
        bool defaultValue = false;
        bool currentValue = false;
        bool isOverridden = false;
        bool differs = false;
        bool isDynamic = false;
        FileIndex file = 0;
        JsonValue properties;
    };

    bool isAnythingRegistered() const;
    /// Whether this is a key that can be asked for; reports when it is not.
    bool isGoodKey(const std::string& operation, const char* key) const;
    std::optional<ToggleIndex> findToggle(const std::string& key) const;
    FileIndex fileOfToken(KLB_ToggleFileType type, const std::string& token);
    void registerOverrideFile();

    /// The file's document, or null.
    const JsonValue* load(File& file) const;
    /// What a parser gets to see of a file, unless that is nothing.
    std::optional<ParsedText> readableText(File& file, const DiskFile& found) const;
    std::optional<ParsedText> openedEnvelope(File& file, const DiskFile& found) const;
    bool isTrusted(const File& file, const Envelope& envelope) const;

    static void setValue(Toggle& toggle, bool value);
    static void addProperty(Toggle& toggle, const std::string& name, const JsonValue& value);
    JsonValue describedFiles() const;
    JsonValue toggleTree() const;

    const Surroundings& surroundings_;
    const HostReporter& host_;
    std::string systemId_;
    std::string deviceIdentifier_;
    bool overrideEnabled_;
    std::string overridePath_;
    std::optional<std::string> certificate_;
    bool skipsSignatureCheck_ = false;
    /// Both in the order of registration.
    std::vector<File> files_;
    std::vector<Toggle> toggles_;
    std::optional<FileIndex> overrideFile_;
};

} // namespace klb::test

#endif
