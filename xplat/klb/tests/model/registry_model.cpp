#include "registry_model.h"

#include "temp_directory.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

namespace klb::test {

namespace {

bool contains(const std::string& text, char wanted) {
    return text.find(wanted) != std::string::npos;
}

bool isBeforeByBytes(const std::string& left, const std::string& right) {
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
        const auto leftByte = static_cast<unsigned char>(left[i]);
        const auto rightByte = static_cast<unsigned char>(right[i]);
        if (leftByte != rightByte) {
            return leftByte < rightByte;
        }
    }
    return left.size() < right.size();
}

/// The places of a list's elements, in the byte order of the texts that nameOf gives for each.
template <class NameOf>
std::vector<std::size_t> sortedByBytes(std::vector<std::size_t> places, NameOf nameOf) {
    std::sort(places.begin(), places.end(), [&](std::size_t left, std::size_t right) {
        return isBeforeByBytes(nameOf(left), nameOf(right));
    });
    return places;
}

template <class Element>
std::vector<std::size_t> placesIn(const std::vector<Element>& list) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < list.size(); ++i) {
        places.push_back(i);
    }
    return places;
}

/// Whether a path begins with a slash where that makes it a full path.
bool hasLeadingSlash(const std::string& path) {
    return kSeparator == '/' && path.starts_with('/');
}

std::string withOneKindOfSlash(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

/// Hands a report out and gives the count that goes with it.
unsigned long long deliver(const std::string& text, char* buffer, unsigned long long size) {
    const unsigned long long needed = text.empty() ? 0 : text.size() + 1;
    if (buffer == nullptr) {
        return needed;
    }
    if (size == 0 || text.empty()) {
        return 0;
    }
    const unsigned long long written = std::min(size, needed);
    for (unsigned long long i = 0; i + 1 < written; ++i) {
        buffer[i] = text[i];
    }
    buffer[written - 1] = '\0';
    return written;
}

} // namespace

/// A toggle file's token, with or without a file.
struct RegistryModel::File {
    KLB_ToggleFileType type = KLB_ToggleFileType_Invalid;
    std::string token;
    std::string name;
    std::string path;
    std::string error;
    unsigned long long errorOffset = 0;
    bool isMissing = false;
    const DiskFile* document = nullptr;
    /// Places in Session::toggles.
    std::vector<std::size_t> differing;
};

struct RegistryModel::Toggle {
    std::string key;
    bool defaultValue = false;
    bool currentValue = false;
    bool isOverridden = false;
    bool differs = false;
    bool isDynamic = false;
    FileIndex file = 0;
    JsonValue properties;
};

/// What lives from init() to term(). Both lists are in the order of registration.
struct RegistryModel::Session {
    std::string systemId;
    std::string deviceIdentifier;
    bool overrideEnabled = false;
    std::string overridePath;
    std::vector<File> files;
    std::vector<Toggle> toggles;
    std::optional<FileIndex> overrideFile;
};

RegistryModel::RegistryModel(const Surroundings& surroundings) : surroundings_(surroundings) {}

RegistryModel::~RegistryModel() = default;

std::vector<Message> RegistryModel::takeMessages() {
    return std::exchange(messages_, {});
}

void RegistryModel::reportError(const std::string& text) {
    messages_.push_back(error(text));
}

bool RegistryModel::isReadyFor(const std::string& exportName) {
    if (!session_) {
        reportError(exportName + ": KLB_Init must be called first.");
    }
    return session_ != nullptr;
}

bool RegistryModel::isGoodKey(const std::string& operation, const char* key) {
    if (key == nullptr) {
        reportError(operation + ": toggleKey cannot be NULL.");
        return false;
    }
    if (*key == '\0') {
        reportError(operation + ": key cannot be an empty string.");
        return false;
    }
    if (*key != '/') {
        reportError(operation + ": key must start with '/' character.");
        return false;
    }
    return true;
}

void RegistryModel::init(const char* systemId, bool enableOverride) {
    if (systemId == nullptr) {
        reportError("KLB_Init: sysID must not be NULL.");
        return;
    }
    if (session_) {
        return;
    }
    session_ = std::make_unique<Session>();
    session_->systemId = systemId;
    session_->overrideEnabled = enableOverride;
    if (session_->systemId.empty()) {
        session_->deviceIdentifier = surroundings_.deviceIdentifier;
        session_->systemId = surroundings_.deviceIdentifier;
    }
}

void RegistryModel::term() {
    session_.reset();
}

void RegistryModel::setOverridePath(const char* directory) {
    if (!isReadyFor("KLB_SetOverridePath")) {
        return;
    }
    if (directory == nullptr) {
        throw std::invalid_argument("setOverridePath: overridePath cannot be NULL.");
    }
    if (*directory == '\0') {
        throw std::invalid_argument("setOverridePath: overridePath cannot be empty.");
    }
    if (!session_->overridePath.empty()) {
        reportError("setOverridePath: override path has already been set.");
        return;
    }
    if (!session_->files.empty() || !session_->toggles.empty()) {
        reportError("setOverridePath: must be called before any registration routines.");
        return;
    }
    std::string path = directory;
    const char separator = hasLeadingSlash(path) ? '/' : '\\';
    if (path.back() != separator) {
        path += separator;
    }
    session_->overridePath = path + "CIT_OVERRIDE.KLB";
}

void RegistryModel::registerToggleFile(KLB_ToggleFileType type, const char* token,
                                       const char* file) {
    if (isReadyFor("KLB_RegisterToggleFile")) {
        attachFile(type, token, file);
    }
}

RegistryModel::FileIndex RegistryModel::fileOfToken(KLB_ToggleFileType type,
                                                    const std::string& token) {
    std::vector<File>& files = session_->files;
    for (FileIndex i = 0; i < files.size(); ++i) {
        if (files[i].token == token) {
            return i;
        }
    }
    File file;
    file.type = type;
    file.token = token;
    files.push_back(file);
    return files.size() - 1;
}

void RegistryModel::attachFile(KLB_ToggleFileType type, const char* token, const char* name) {
    if (type == KLB_ToggleFileType_Invalid) {
        reportError("registerToggleFile: toggleFileType is an unknown toggle file type.");
        return;
    }
    if (token == nullptr) {
        reportError("registerToggleFile: toggleFileToken cannot be NULL.");
        return;
    }
    if (name == nullptr) {
        reportError("registerToggleFile: toggleFile cannot be NULL.");
        return;
    }
    std::string path = name;
    if (path.empty()) {
        reportError("registerToggleFile: toggleFile cannot be empty.");
        return;
    }
    if (!contains(path, '\\') && !hasLeadingSlash(path)) {
        path = surroundings_.supportDirectory + path;
    }
    File& file = session_->files[fileOfToken(type, token)];
    if (!file.path.empty()) {
        if (file.path != path) {
            reportError("registerToggleFile: toggle file path location as already been set to '" +
                        file.path + "'");
        }
        return;
    }
    for (const File& owner : session_->files) {
        if (owner.path == path) {
            reportError("registerToggleFile: toggle file path location as already been registered "
                        "to '" +
                        file.token + "'");
            return;
        }
    }
    file.path = path;
    file.name = name;
    load(file);
    if (!file.error.empty()) {
        std::string text = "registerToggleFile: " + file.error + " in file: " + file.path;
        if (file.errorOffset != 0) {
            text += " at offset: " + std::to_string(file.errorOffset);
        }
        reportError(text);
    }
}

const DiskFile* RegistryModel::findOnDisk(const std::string& path) const {
    for (const DiskFile& file : surroundings_.files) {
        if (withOneKindOfSlash(file.path) == withOneKindOfSlash(path)) {
            return &file;
        }
    }
    return nullptr;
}

const DiskFile* RegistryModel::load(File& file) const {
    if (file.isMissing || !file.error.empty()) {
        return nullptr;
    }
    if (file.document != nullptr) {
        return file.document;
    }
    if (file.path.empty()) {
        return nullptr;
    }
    const DiskFile* found = findOnDisk(file.path);
    if (found == nullptr) {
        file.isMissing = true;
        return nullptr;
    }
    if (found->bytes.size() < 10) {
        file.error = "FileTooSmall";
        return nullptr;
    }
    if (file.type != KLB_ToggleFileType_Supported && file.type != KLB_ToggleFileType_Override) {
        // There are plain files only, and none of them decodes to an envelope's first bytes.
        file.error = "error reading input file\n";
        return nullptr;
    }
    if (found->bytes[0] != '{') {
        return nullptr;
    }
    if (!found->parseError.empty()) {
        file.error = found->parseError;
        file.errorOffset = found->parseErrorOffset;
        return nullptr;
    }
    file.error = headerError(*found, session_->systemId);
    if (!file.error.empty()) {
        return nullptr;
    }
    file.document = found;
    return found;
}

void RegistryModel::registerToggle(const char* key, bool defaultValue, const char* token) {
    if (isReadyFor("KLB_RegisterToggleFile")) {
        addToggle(key, defaultValue, token, false);
    }
}

void RegistryModel::registerDynamicToggle(const char* key, bool defaultValue, const char* token) {
    if (isReadyFor("KLB_RegisterToggleFile")) {
        addToggle(key, defaultValue, token, true);
    }
}

void RegistryModel::addToggle(const char* key, bool defaultValue, const char* token,
                              bool isDynamic) {
    if (key == nullptr) {
        reportError("registerToggle: toggleKey cannot be NULL.");
        return;
    }
    if (token == nullptr) {
        reportError("registerToggle: toggleFileToken cannot be NULL.");
        return;
    }
    attachOverrideFile();
    const FileIndex fileIndex = fileOfToken(KLB_ToggleFileType_Invalid, token);
    if (const Toggle* known = findToggle(key)) {
        if (known->file != fileIndex) {
            reportError("registerToggle: " + known->key + " already registred in " +
                        session_->files[known->file].path);
        }
        return;
    }
    Toggle toggle;
    toggle.key = key;
    toggle.defaultValue = defaultValue;
    toggle.currentValue = defaultValue;
    toggle.isDynamic = isDynamic;
    toggle.file = fileIndex;
    addProperty(toggle, "KLB_DefaultValue", JsonValue::boolean(defaultValue));
    addProperty(toggle, "KLB_IsDynamic", JsonValue::boolean(isDynamic));
    addProperty(toggle, "KLB_ToggleFileToken", JsonValue::string(token));

    if (const DiskFile* document = load(session_->files[fileIndex])) {
        if (const std::optional<bool> found = valueInToggleFile(*document, key)) {
            setValue(toggle, *found);
        }
    }
    if (session_->overrideFile) {
        if (const DiskFile* document = load(session_->files[*session_->overrideFile])) {
            if (const std::optional<bool> found = valueInOverrideFile(*document, key)) {
                setValue(toggle, *found);
                toggle.isOverridden = true;
            }
        }
    }
    session_->toggles.push_back(toggle);
    if (toggle.differs) {
        const FileIndex setter = toggle.isOverridden ? *session_->overrideFile : fileIndex;
        session_->files[setter].differing.push_back(session_->toggles.size() - 1);
    }
}

void RegistryModel::attachOverrideFile() {
    if (session_->overrideFile || !session_->overrideEnabled) {
        return;
    }
    const char* const token = "cit.feature.overrides";
    std::string path = session_->overridePath;
    if (path.empty()) {
        path = surroundings_.executableDirectory + "CIT_OVERRIDE.KLB";
    }
    attachFile(KLB_ToggleFileType_Override, token, path.c_str());
    session_->overrideFile = fileOfToken(KLB_ToggleFileType_Override, token);
}

RegistryModel::Toggle* RegistryModel::findToggle(const std::string& key) {
    for (Toggle& toggle : session_->toggles) {
        if (toggle.key == key) {
            return &toggle;
        }
    }
    return nullptr;
}

void RegistryModel::setValue(Toggle& toggle, bool value) {
    toggle.currentValue = value;
    toggle.isOverridden = false;
    if (value != toggle.defaultValue) {
        toggle.differs = true;
    }
}

bool RegistryModel::getToggle(const char* key) {
    return isReadyFor("KLB_RegisterToggleFile") && value(key, false);
}

bool RegistryModel::getDynamicToggle(const char* key) {
    return isReadyFor("KLB_RegisterToggleFile") && value(key, true);
}

bool RegistryModel::value(const char* key, bool dynamic) {
    if (!isGoodKey("getToggle", key)) {
        return false;
    }
    const Toggle* toggle = findToggle(key);
    if (toggle == nullptr) {
        messages_.push_back(warning("getToggle: key, " + std::string(key) +
                                    ", was not registered. Returning false."));
        return false;
    }
    if (dynamic && !toggle->isDynamic) {
        reportError("getToggle: key is is immutable after initialization.");
        return false;
    }
    if (!dynamic && toggle->isDynamic) {
        reportError("getToggle: key is a mutable.");
        return false;
    }
    return toggle->differs ? toggle->currentValue : toggle->defaultValue;
}

void RegistryModel::setDynamicToggle(const char* key, bool value) {
    if (!isReadyFor("KLB_RegisterToggleFile") || !isGoodKey("setDynamicToggle", key)) {
        return;
    }
    Toggle* toggle = findToggle(key);
    if (toggle == nullptr || !toggle->isDynamic) {
        reportError("setDynamicToggle: key was not registered as a mutable so it cannot be changed "
                    "after initialization.");
        return;
    }
    setValue(*toggle, value);
}

void RegistryModel::addToggleComment(const char* key, const char* comment) {
    if (!isReadyFor("KLB_AddToggleComment") || !isGoodKey("addToggleProperty", key)) {
        return;
    }
    if (comment == nullptr) {
        reportError("addToggleProperty: propertyValue cannot be NULL.");
        return;
    }
    Toggle* toggle = findToggle(key);
    if (toggle == nullptr) {
        reportError("addToggleProperty: key, " + std::string(key) +
                    ", was not registered. Please call RegisterToggle first.");
        return;
    }
    addProperty(*toggle, "KLB_ToggleComment", JsonValue::string(comment));
}

void RegistryModel::addProperty(Toggle& toggle, const std::string& name, const JsonValue& value) {
    if (toggle.properties.find(name) == nullptr) {
        toggle.properties.add(name, value);
    }
}

unsigned long long RegistryModel::getOverrideInfoString(char* buffer, unsigned long long size) {
    return session_ ? deliver(overrideInfoString(), buffer, size) : 0;
}

std::string RegistryModel::overrideInfoString() const {
    const std::vector<File>& files = session_->files;
    const std::vector<Toggle>& toggles = session_->toggles;
    std::string text;
    if (!session_->deviceIdentifier.empty()) {
        text += "DeviceID : " + session_->deviceIdentifier + "\n";
    }
    for (const FileIndex i :
         sortedByBytes(placesIn(files), [&](FileIndex each) { return files[each].token; })) {
        const File& file = files[i];
        if (file.differing.empty()) {
            continue;
        }
        text += file.token + " : " + (file.path.empty() ? "UNKNONN" : file.path) + "\n";
        for (const std::size_t k :
             sortedByBytes(file.differing, [&](std::size_t each) { return toggles[each].key; })) {
            const Toggle& toggle = toggles[k];
            if (toggle.differs) {
                text += toggle.key + " : " + (toggle.currentValue ? "true" : "false") + "\n";
            }
        }
    }
    return text;
}

unsigned long long RegistryModel::getDefaultToggleJson(const char* moduleName,
                                                       const char* moduleVersion, char* buffer,
                                                       unsigned long long size) {
    return session_ ? deliver(defaultToggleJson(moduleName, moduleVersion), buffer, size) : 0;
}

std::string RegistryModel::defaultToggleJson(const char* moduleName,
                                             const char* moduleVersion) const {
    JsonValue root;
    if (moduleName != nullptr) {
        root.add("KLB_ModuleName", JsonValue::string(moduleName));
    }
    if (moduleVersion != nullptr) {
        root.add("KLB_ModuleVersion", JsonValue::string(moduleVersion));
    }
    if (!session_->files.empty()) {
        JsonValue list;
        for (const File& file : session_->files) {
            if (file.type == KLB_ToggleFileType_Invalid ||
                file.type == KLB_ToggleFileType_Override) {
                continue;
            }
            const bool isUnsupported = file.type == KLB_ToggleFileType_Unsupported;
            JsonValue described;
            described.add("KLB_ToggleFileType",
                          JsonValue::string(isUnsupported ? "KLB_UnsupportedFeatures"
                                                          : "KLB_SupportedFeatures"));
            described.add("KLB_ToggleFile", JsonValue::string(file.name));
            list.add(file.token, described);
        }
        root.add("KLB_ToggleFiles", list);
    }
    const std::vector<Toggle>& toggles = session_->toggles;
    if (!toggles.empty()) {
        JsonValue tree;
        for (const std::size_t i : sortedByBytes(
                 placesIn(toggles), [&](std::size_t each) { return toggles[each].key; })) {
            placeAt(tree, toggles[i].key, toggles[i].properties);
        }
        root.add("KLB_Toggles", tree);
    }
    return jsonText(root);
}

} // namespace klb::test
