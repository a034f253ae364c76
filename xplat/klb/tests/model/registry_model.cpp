#include "registry_model.h"

#include "temp_directory.h"

#include <algorithm>
#include <stdexcept>

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

/// The file of trusted certificates in the directory of this file.
std::string certificatePathFor(const std::string& path) {
    const std::size_t separator = path.find_last_of("/\\");
    return path.substr(0, separator + 1) + "mosk.cert.pem";
}

} // namespace

RegistryModel::RegistryModel(const Surroundings& surroundings, const HostReporter& host,
                             const std::string& systemId, bool enableOverride)
    : surroundings_(surroundings),
      host_(host),
      systemId_(systemId),
      overrideEnabled_(enableOverride) {
    if (systemId_.empty()) {
        deviceIdentifier_ = surroundings_.deviceIdentifier;
        systemId_ = surroundings_.deviceIdentifier;
    }
}

bool RegistryModel::isAnythingRegistered() const {
    return !files_.empty() || !toggles_.empty();
}

void RegistryModel::setOverridePath(const char* directory) {
    if (directory == nullptr) {
        throw std::invalid_argument("setOverridePath: overridePath cannot be NULL.");
    }
    if (*directory == '\0') {
        throw std::invalid_argument("setOverridePath: overridePath cannot be empty.");
    }
    if (!overridePath_.empty()) {
        host_.stateError("setOverridePath: override path has already been set.");
        return;
    }
    if (isAnythingRegistered()) {
        host_.stateError("setOverridePath: must be called before any registration routines.");
        return;
    }
    std::string path = directory;
    const char separator = hasLeadingSlash(path) ? '/' : '\\';
    if (path.back() != separator) {
        path += separator;
    }
    overridePath_ = path + "CIT_OVERRIDE.KLB";
}

void RegistryModel::setCertificateData(const char* text) {
    if (certificate_) {
        host_.stateError("setCertificateData: certificate data has already been set.");
        return;
    }
    if (isAnythingRegistered()) {
        host_.stateError("setCertificateData: must be called before any registration routines.");
        return;
    }
    skipsSignatureCheck_ = text == nullptr;
    if (text == nullptr) {
        return;
    }
    for (const CertificateText& each : surroundings_.certificates) {
        if (each.text == text) {
            certificate_ = each.name;
            return;
        }
    }
    host_.stateError(
        "setCertificateData: can't read certificate from the certificate data provided.");
}

bool RegistryModel::isToggleFileRegistered(const char* token) const {
    if (token == nullptr) {
        host_.argumentError("isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.");
        return false;
    }
    for (const File& file : files_) {
        if (file.token == token) {
            return true;
        }
    }
    return false;
}

RegistryModel::FileIndex RegistryModel::fileOfToken(KLB_ToggleFileType type,
                                                    const std::string& token) {
    for (FileIndex i = 0; i < files_.size(); ++i) {
        if (files_[i].token == token) {
            return i;
        }
    }
    File file;
    file.type = type;
    file.token = token;
    files_.push_back(file);
    return files_.size() - 1;
}

void RegistryModel::registerToggleFile(KLB_ToggleFileType type, const char* token,
                                       const char* name) {
    if (type == KLB_ToggleFileType_Invalid) {
        host_.argumentError("registerToggleFile: toggleFileType is an unknown toggle file type.");
        return;
    }
    if (token == nullptr) {
        host_.argumentError("registerToggleFile: toggleFileToken cannot be NULL.");
        return;
    }
    if (name == nullptr) {
        host_.argumentError("registerToggleFile: toggleFile cannot be NULL.");
        return;
    }
    std::string path = name;
    if (path.empty()) {
        host_.argumentError("registerToggleFile: toggleFile cannot be empty.");
        return;
    }
    if (!contains(path, '\\') && !hasLeadingSlash(path)) {
        path = surroundings_.supportDirectory + path;
    }
    File& file = files_[fileOfToken(type, token)];
    if (!file.path.empty()) {
        if (file.path != path) {
            host_.stateError("registerToggleFile: toggle file path location as already been set "
                             "to '" +
                             file.path + "'");
        }
        return;
    }
    for (const File& owner : files_) {
        if (owner.path == path) {
            host_.stateError("registerToggleFile: toggle file path location as already been "
                             "registered to '" +
                             file.token + "'");
            return;
        }
    }
    file.path = path;
    file.name = name;
    file.certificate = certificate_;
    file.skipsSignatureCheck = skipsSignatureCheck_;
    load(file);
    if (!file.error.empty()) {
        std::string text = "registerToggleFile: " + file.error + " in file: " + file.path;
        if (file.errorOffset != 0) {
            text += " at offset: " + std::to_string(file.errorOffset);
        }
        host_.stateError(text);
    }
}

const JsonValue* RegistryModel::load(File& file) const {
    if (file.isMissing || !file.error.empty()) {
        return nullptr;
    }
    if (file.document) {
        return &*file.document;
    }
    if (file.path.empty()) {
        return nullptr;
    }
    const DiskFile* found = openedFile(surroundings_, file.path);
    if (found == nullptr) {
        file.isMissing = true;
        return nullptr;
    }
    if (found->bytes.size() < 10) {
        file.error = "FileTooSmall";
        return nullptr;
    }
    const std::optional<ParsedText> text = readableText(file, *found);
    if (!text) {
        return nullptr;
    }
    if (!text->error.empty()) {
        file.error = text->error;
        file.errorOffset = text->errorOffset;
        return nullptr;
    }
    file.error = documentError(text->root, systemId_);
    if (!file.error.empty()) {
        return nullptr;
    }
    file.document = text->root;
    return &*file.document;
}

std::optional<ParsedText> RegistryModel::readableText(File& file, const DiskFile& found) const {
    if (file.type != KLB_ToggleFileType_Supported && file.type != KLB_ToggleFileType_Override) {
        return openedEnvelope(file, found);
    }
    if (found.bytes[0] != '{') {
        return std::nullopt;
    }
    return found.text;
}

std::optional<ParsedText> RegistryModel::openedEnvelope(File& file, const DiskFile& found) const {
    const std::string otherComputer =
        "The original KLB file was either corrupted or it was created for a different computer.\n";
    if (!found.envelope) {
        file.error = found.envelopeError;
        return std::nullopt;
    }
    const Envelope& envelope = *found.envelope;
    if (envelope.beginning.empty()) {
        return std::nullopt;
    }
    if (envelope.systemId != systemId_) {
        if (file.skipsSignatureCheck) {
            const auto known = envelope.byOtherKeys.find(systemId_);
            if (known == envelope.byOtherKeys.end()) {
                throw DependsOnChance();
            }
            if (known->second) {
                return known->second;
            }
        }
        file.error = otherComputer;
        return std::nullopt;
    }
    if (envelope.beginning != (file.skipsSignatureCheck ? "{" : "MIME-Version: 1.0")) {
        file.error = otherComputer;
        return std::nullopt;
    }
    if (!file.skipsSignatureCheck) {
        file.error = envelope.messageError;
        if (file.error.empty() && !isTrusted(file, envelope)) {
            file.error = "Verification failure\n";
        }
        if (!file.error.empty()) {
            return std::nullopt;
        }
    }
    return envelope.text;
}

bool RegistryModel::isTrusted(const File& file, const Envelope& envelope) const {
    std::vector<std::string> trusted;
    if (file.certificate) {
        trusted.push_back(*file.certificate);
    } else if (const DiskFile* beside = openedFile(surroundings_, certificatePathFor(file.path))) {
        trusted = beside->certificates;
    }
    for (const std::string& name : trusted) {
        for (const std::string& enough : envelope.trustedBy) {
            if (name == enough) {
                return true;
            }
        }
    }
    return false;
}

void RegistryModel::registerToggle(const char* key, bool defaultValue, const char* token,
                                   bool isDynamic) {
    if (key == nullptr) {
        host_.argumentError("registerToggle: toggleKey cannot be NULL.");
        return;
    }
    if (token == nullptr) {
        host_.argumentError("registerToggle: toggleFileToken cannot be NULL.");
        return;
    }
    registerOverrideFile();
    const FileIndex fileIndex = fileOfToken(KLB_ToggleFileType_Invalid, token);
    if (const std::optional<ToggleIndex> known = findToggle(key)) {
        const FileIndex owner = toggles_[*known].file;
        if (owner != fileIndex) {
            host_.stateError("registerToggle: " + std::string(key) + " already registred in " +
                             files_[owner].path);
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

    if (const JsonValue* document = load(files_[fileIndex])) {
        if (const std::optional<bool> found = valueInToggleFile(*document, key)) {
            setValue(toggle, *found);
        }
    }
    if (overrideFile_) {
        if (const JsonValue* document = load(files_[*overrideFile_])) {
            if (const std::optional<bool> found = valueInOverrideFile(*document, key)) {
                setValue(toggle, *found);
                toggle.isOverridden = true;
            }
        }
    }
    toggles_.push_back(toggle);
    if (toggle.differs) {
        const FileIndex setter = toggle.isOverridden ? *overrideFile_ : fileIndex;
        files_[setter].differing.push_back(toggles_.size() - 1);
    }
}

void RegistryModel::registerOverrideFile() {
    if (overrideFile_ || !overrideEnabled_) {
        return;
    }
    const char* const token = "cit.feature.overrides";
    std::string path = overridePath_;
    if (path.empty()) {
        path = surroundings_.executableDirectory + "CIT_OVERRIDE.KLB";
    }
    registerToggleFile(KLB_ToggleFileType_Override, token, path.c_str());
    overrideFile_ = fileOfToken(KLB_ToggleFileType_Override, token);
}

std::optional<RegistryModel::ToggleIndex> RegistryModel::findToggle(const std::string& key) const {
    for (ToggleIndex i = 0; i < toggles_.size(); ++i) {
        if (toggles_[i].key == key) {
            return i;
        }
    }
    return std::nullopt;
}

void RegistryModel::setValue(Toggle& toggle, bool value) {
    toggle.currentValue = value;
    toggle.isOverridden = false;
    if (value != toggle.defaultValue) {
        toggle.differs = true;
    }
}

bool RegistryModel::isToggleRegistered(const char* key, bool isDynamic) const {
    if (key == nullptr) {
        throw std::invalid_argument("getToggle: toggleKey cannot be NULL.");
    }
    const std::optional<ToggleIndex> known = findToggle(key);
    return known && toggles_[*known].isDynamic == isDynamic;
}

bool RegistryModel::isGoodKey(const std::string& operation, const char* key) const {
    if (key == nullptr) {
        host_.argumentError(operation + ": toggleKey cannot be NULL.");
        return false;
    }
    if (*key == '\0') {
        host_.argumentError(operation + ": key cannot be an empty string.");
        return false;
    }
    if (*key != '/') {
        host_.argumentError(operation + ": key must start with '/' character.");
        return false;
    }
    return true;
}

bool RegistryModel::getToggle(const char* key, bool asDynamic) const {
    if (!isGoodKey("getToggle", key)) {
        return false;
    }
    const std::optional<ToggleIndex> known = findToggle(key);
    if (!known) {
        host_.warning("getToggle: key, " + std::string(key) +
                      ", was not registered. Returning false.");
        return false;
    }
    const Toggle& toggle = toggles_[*known];
    if (asDynamic && !toggle.isDynamic) {
        host_.stateError("getToggle: key is is immutable after initialization.");
        return false;
    }
    if (!asDynamic && toggle.isDynamic) {
        host_.stateError("getToggle: key is a mutable.");
        return false;
    }
    return toggle.differs ? toggle.currentValue : toggle.defaultValue;
}

void RegistryModel::setDynamicToggle(const char* key, bool value) {
    if (!isGoodKey("setDynamicToggle", key)) {
        return;
    }
    const std::optional<ToggleIndex> known = findToggle(key);
    if (!known || !toggles_[*known].isDynamic) {
        host_.stateError("setDynamicToggle: key was not registered as a mutable so it cannot be "
                         "changed after initialization.");
        return;
    }
    setValue(toggles_[*known], value);
}

void RegistryModel::addToggleComment(const char* key, const char* comment) {
    if (!isGoodKey("addToggleProperty", key)) {
        return;
    }
    if (comment == nullptr) {
        host_.argumentError("addToggleProperty: propertyValue cannot be NULL.");
        return;
    }
    const std::optional<ToggleIndex> known = findToggle(key);
    if (!known) {
        host_.stateError("addToggleProperty: key, " + std::string(key) +
                         ", was not registered. Please call RegisterToggle first.");
        return;
    }
    addProperty(toggles_[*known], "KLB_ToggleComment", JsonValue::string(comment));
}

void RegistryModel::addProperty(Toggle& toggle, const std::string& name, const JsonValue& value) {
    if (toggle.properties.find(name) == nullptr) {
        toggle.properties.add(name, value);
    }
}

std::string RegistryModel::overrideInfoString() const {
    std::string text;
    if (!deviceIdentifier_.empty()) {
        text += "DeviceID : " + deviceIdentifier_ + "\n";
    }
    for (const FileIndex i :
         sortedByBytes(placesIn(files_), [&](FileIndex each) { return files_[each].token; })) {
        const File& file = files_[i];
        if (file.differing.empty()) {
            continue;
        }
        text += file.token + " : " + (file.path.empty() ? "UNKNONN" : file.path) + "\n";
        for (const ToggleIndex k :
             sortedByBytes(file.differing, [&](ToggleIndex each) { return toggles_[each].key; })) {
            const Toggle& toggle = toggles_[k];
            if (toggle.differs) {
                text += toggle.key + " : " + (toggle.currentValue ? "true" : "false") + "\n";
            }
        }
    }
    return text;
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
    if (!files_.empty()) {
        root.add("KLB_ToggleFiles", describedFiles());
    }
    if (!toggles_.empty()) {
        root.add("KLB_Toggles", toggleTree());
    }
    return jsonText(root);
}

JsonValue RegistryModel::describedFiles() const {
    JsonValue list;
    for (const File& file : files_) {
        if (file.type == KLB_ToggleFileType_Invalid || file.type == KLB_ToggleFileType_Override) {
            continue;
        }
        const bool isUnsupported = file.type == KLB_ToggleFileType_Unsupported;
        JsonValue described;
        described.add(
            "KLB_ToggleFileType",
            JsonValue::string(isUnsupported ? "KLB_UnsupportedFeatures" : "KLB_SupportedFeatures"));
        described.add("KLB_ToggleFile", JsonValue::string(file.name));
        list.add(file.token, described);
    }
    return list;
}

JsonValue RegistryModel::toggleTree() const {
    JsonValue tree;
    for (const ToggleIndex i :
         sortedByBytes(placesIn(toggles_), [&](ToggleIndex each) { return toggles_[each].key; })) {
        placeAt(tree, toggles_[i].key, toggles_[i].properties);
    }
    return tree;
}

} // namespace klb::test
