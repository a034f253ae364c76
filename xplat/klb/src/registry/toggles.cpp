#include "registry/toggles.h"

#include "core/message_reporter.h"
#include "core/rollback.h"
#include "documents/document_loader.h"
#include "documents/document_lookup.h"
#include "registry/toggle_files.h"
#include "trust/override_path.h"

#include <optional>
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
    if (const auto value = lookUp(*document, *document->toggleTree, toggle.key())) {
        toggle.setValue(*value, false);
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
    if (const auto value = lookUp(*document, document->root, toggle.key())) {
        toggle.setValue(*value, true);
    }
}

/// Enters a finished toggle everywhere. All or nothing: memory may run out at each step but the
/// last.
void addToggle(Registry& registry, ToggleRecord& toggle) {
    registry.toggles.add(toggle);
    Rollback unlist([&]() noexcept { registry.toggles.removeLast(); });

    auto& differing = (toggle.overridden ? registry.overrideFile : toggle.file)->differingToggles;
    if (toggle.differs) {
        differing.add(toggle);
    }
    Rollback equalise([&]() noexcept {
        if (toggle.differs) {
            differing.removeLast();
        }
    });

    registry.toggleIndex.insert(toggle);
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

    ToggleRecord& toggle = createToggle(key, registry.toggleMemory);
    toggle.defaultValue = defaultValue;
    toggle.currentValue = defaultValue;
    toggle.isDynamic = isDynamic;
    toggle.file = &file;
    applyToggleFile(registry, toggle);
    applyOverrideFile(registry, toggle);
    addToggle(registry, toggle);
}

void warnOfUnregisteredKey(const char* key) {
    if (hasMessageCallback()) {
        const std::string text =
            "getToggle: key, " + std::string(key) + ", was not registered. Returning false.";
        reportWarning(text.c_str());
    }
}

} // namespace klb
