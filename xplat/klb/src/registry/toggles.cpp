#include "registry/toggles.h"

#include "core/message_reporter.h"
#include "documents/document_loader.h"
#include "documents/document_lookup.h"
#include "registry/file_places.h"
#include "registry/toggle_files.h"

#include <optional>
#include <string>

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

std::optional<bool> lookUp(ToggleDocument& document, const JsonValue& tree, std::string_view key) {
    bool found = false;
    const bool value = lookupDocumentValue(key, false, found, document, tree);
    return found ? std::optional<bool>(value) : std::nullopt;
}

void applyToggleFile(const Registry& registry, ToggleFileRecord& file, std::string_view key,
                     ToggleState& state) {
    ToggleDocument* document = loadToggleDocument(file, registry.systemId, *registry.platform);
    if (document == nullptr) {
        return;
    }
    if (const auto value = lookUp(*document, *document->toggleTree, key)) {
        state.setValue(*value, false);
    }
}

void applyOverrideFile(const Registry& registry, std::string_view key, ToggleState& state) {
    if (registry.overrideFile == nullptr) {
        return;
    }
    ToggleDocument* document =
        loadToggleDocument(*registry.overrideFile, registry.systemId, *registry.platform);
    if (document == nullptr) {
        return;
    }
    if (const auto value = lookUp(*document, document->root, key)) {
        state.setValue(*value, true);
    }
}

/// Enters a toggle everywhere, or nowhere when memory runs out: all of it is taken beforehand. The
/// record comes last of that, because its memory cannot be given back.
void addToggle(Registry& registry, std::string_view key, const ToggleState& state,
               ToggleFileRecord& file) {
    auto& differing = (state.overridden ? *registry.overrideFile : file).differingToggles;
    registry.toggles.makeRoom();
    registry.toggleIndex.reserve(registry.toggleIndex.size() + 1);
    if (state.differs) {
        differing.makeRoom();
    }
    ToggleRecord& toggle = createToggle(key, registry.toggleMemory);

    static_cast<ToggleState&>(toggle) = state;
    toggle.file = &file;
    registry.toggles.add(toggle);
    registry.toggleIndex.insert(toggle);
    if (toggle.differs) {
        differing.add(toggle);
    }
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

    ToggleState state;
    state.defaultValue = defaultValue;
    state.currentValue = defaultValue;
    state.isDynamic = isDynamic;
    applyToggleFile(registry, file, key, state);
    applyOverrideFile(registry, key, state);
    addToggle(registry, key, state, file);
}

void warnOfUnregisteredKey(const char* key) {
    if (hasMessageCallback()) {
        const std::string text =
            "getToggle: key, " + std::string(key) + ", was not registered. Returning false.";
        reportWarning(text.c_str());
    }
}

} // namespace klb
