#include "registry/toggles.h"

#include "core/message_reporter.h"
#include "core/rollback.h"
#include "documents/document_loader.h"
#include "documents/document_lookup.h"
#include "registry/key_check.h"
#include "registry/toggle_files.h"
#include "trust/override_path.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace klb {

namespace {

/// The token that the library keeps for the override file.
constexpr const char* kOverrideToken = "cit.feature.overrides";

void registerOverrideFile(Registry& registry) {
    const std::string path = overrideFilePath(registry);
    registerToggleFile(registry, KLB_ToggleFileType_Override, kOverrideToken, path.c_str());
    registry.overrideFile =
        &registerToggleFileToken(registry, KLB_ToggleFileType_Override, kOverrideToken);
}

void setValue(ToggleRecord& toggle, bool value, bool overridden) noexcept {
    toggle.currentValue = value;
    toggle.overridden = overridden;
    if (value != toggle.defaultValue) {
        toggle.differs = true;
    }
}

std::optional<bool> lookUp(ToggleDocument& document, const JsonValue& tree, std::string_view key) {
    bool found = false;
    const bool value = lookupDocumentValue(key, false, found, document, tree);
    return found ? std::optional<bool>(value) : std::nullopt;
}

void applyToggleFile(const Registry& registry, ToggleRecord& toggle) {
    ToggleDocument* document =
        loadToggleDocument(*toggle.file, registry.systemId, *registry.platform);
    if (document == nullptr) {
        return;
    }
    if (const auto value = lookUp(*document, *document->toggleTree, toggle.key)) {
        setValue(toggle, *value, false);
    }
}

void applyOverrideFile(const Registry& registry, ToggleRecord& toggle) {
    if (registry.overrideFile == nullptr) {
        return;
    }
    ToggleDocument* document =
        loadToggleDocument(*registry.overrideFile, registry.systemId, *registry.platform);
    if (document == nullptr) {
        return;
    }
    if (const auto value = lookUp(*document, document->root, toggle.key)) {
        setValue(toggle, *value, true);
    }
}

/// Enters a finished toggle everywhere. All or nothing: memory may run out at each step but the
/// last.
void addToggle(Registry& registry, ToggleTable::node_type created) {
    ToggleRecord& toggle = created.mapped();
    const std::string_view key = toggle.key;

    auto& fileToggles = toggle.file->toggles;
    fileToggles.push_back(&toggle);
    Rollback unlist([&]() noexcept { fileToggles.pop_back(); });

    auto& differing = (toggle.overridden ? registry.overrideFile : toggle.file)->differingToggles;
    if (toggle.differs) {
        differing.emplace(key, &toggle);
    }
    Rollback equalise([&]() noexcept { differing.erase(key); });

    registry.toggleIndex.emplace(key, &toggle);
    Rollback unindex([&]() noexcept { registry.toggleIndex.erase(key); });

    registry.togglesByKey.insert(std::move(created));
    unindex.commit();
    equalise.commit();
    unlist.commit();
}

} // namespace

void registerToggle(Registry& registry, const char* key, bool defaultValue, const char* token,
                    bool isDynamic) {
    if (key == nullptr) {
        reportInvalidArgument("registerToggle: toggleKey cannot be NULL.");
        return;
    }
    if (token == nullptr) {
        reportInvalidArgument("registerToggle: toggleFileToken cannot be NULL.");
        return;
    }
    if (registry.overrideFile == nullptr && registry.enableOverride) {
        registerOverrideFile(registry);
    }
    ToggleFileRecord& file = registerToggleFileToken(registry, KLB_ToggleFileType_Invalid, token);
    if (const ToggleRecord* known = findToggle(registry, key)) {
        if (known->file != &file) {
            const std::string text = "registerToggle: " + std::string(key) +
                                     " already registred in " + known->file->path;
            reportDomainError(text.c_str());
        }
        return;
    }

    ToggleTable created;
    const auto entry = created.try_emplace(key).first;
    ToggleRecord& toggle = entry->second;
    toggle.key = entry->first;
    toggle.defaultValue = defaultValue;
    toggle.currentValue = defaultValue;
    toggle.isDynamic = isDynamic;
    toggle.file = &file;
    applyToggleFile(registry, toggle);
    applyOverrideFile(registry, toggle);
    addToggle(registry, created.extract(entry));
}

bool getToggle(const Registry& registry, const char* key, bool dynamic) {
    if (!isQueryableKey(key, "getToggle: toggleKey cannot be NULL.",
                        "getToggle: key cannot be an empty string.",
                        "getToggle: key must start with '/' character.")) {
        return false;
    }
    const ToggleRecord* toggle = findToggle(registry, key);
    if (toggle == nullptr) {
        if (hasMessageCallback()) {
            const std::string text =
                "getToggle: key, " + std::string(key) + ", was not registered. Returning false.";
            reportWarning(text.c_str());
        }
        return false;
    }
    if (toggle->isDynamic != dynamic) {
        // "is is": hosts know the text like this.
        reportDomainError(dynamic ? "getToggle: key is is immutable after initialization."
                                  : "getToggle: key is a mutable.");
        return false;
    }
    return toggle->value();
}

void setDynamicToggle(Registry& registry, const char* key, bool value) {
    if (!isQueryableKey(key, "setDynamicToggle: toggleKey cannot be NULL.",
                        "setDynamicToggle: key cannot be an empty string.",
                        "setDynamicToggle: key must start with '/' character.")) {
        return;
    }
    ToggleRecord* toggle = findToggle(registry, key);
    if (toggle == nullptr || !toggle->isDynamic) {
        reportDomainError("setDynamicToggle: key was not registered as a mutable so it cannot be "
                          "changed after initialization.");
        return;
    }
    setValue(*toggle, value, false);
}

ToggleLookup lookupToggle(const Registry& registry, const char* key) {
    if (key == nullptr) {
        throw std::invalid_argument("getToggle: toggleKey cannot be NULL.");
    }
    const ToggleRecord* toggle = findToggle(registry, key);
    if (toggle == nullptr) {
        return {};
    }
    return {true, toggle->isDynamic};
}

ToggleRecord* findToggle(const Registry& registry, std::string_view key) {
    const auto known = registry.toggleIndex.find(key);
    return known != registry.toggleIndex.end() ? known->second : nullptr;
}

} // namespace klb
