#include "registry/toggles.h"

#include "core/message_reporter.h"
#include "registry/settings.h"
#include "registry/toggle_files.h"

#include <cstring>
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

void applyToggleFile(const Registry& registry, ToggleFileRecord& file, std::string_view key,
                     ToggleState& state) {
    ToggleDocument* document = documentOf(registry, file);
    if (document == nullptr) {
        return;
    }
    if (const auto value = lookupDocumentValue(key, *document, *document->toggleTree)) {
        state.setValue(*value, false);
    }
}

void applyOverrideFile(const Registry& registry, std::string_view key, ToggleState& state) {
    ToggleDocument* document =
        registry.overrideFile != nullptr ? documentOf(registry, *registry.overrideFile) : nullptr;
    if (document == nullptr) {
        return;
    }
    if (const auto value = lookupDocumentValue(key, *document, document->root)) {
        state.setValue(*value, true);
    }
}

/// Adds a toggle everywhere, or nowhere when memory runs out: everything is allocated first, and
/// the record last, because its memory cannot be freed by itself.
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

void addToggleComment(Registry& registry, const char* key, const char* comment) {
    if (!isQueryableKey(key, "addToggleProperty: toggleKey cannot be NULL.",
                        "addToggleProperty: key cannot be an empty string.",
                        "addToggleProperty: key must start with '/' character.")) {
        return;
    }
    if (comment == nullptr) {
        reportInvalidArgument("addToggleProperty: propertyValue cannot be NULL.");
        return;
    }
    ToggleRecord* toggle = findToggle(registry, key);
    if (toggle == nullptr) {
        const std::string text = "addToggleProperty: key, " + std::string(key) +
                                 ", was not registered. Please call RegisterToggle first.";
        reportDomainError(text.c_str());
        return;
    }
    if (toggle->comment == nullptr) {
        const std::size_t size = std::strlen(comment) + 1;
        void* const copy = registry.toggleMemory.allocate(size, alignof(char));
        toggle->comment = static_cast<const char*>(std::memcpy(copy, comment, size));
    }
}

void warnOfUnregisteredKey(const char* key) {
    if (hasMessageCallback()) {
        const std::string text =
            "getToggle: key, " + std::string(key) + ", was not registered. Returning false.";
        reportWarning(text.c_str());
    }
}

} // namespace klb
