#ifndef KLB_REGISTRY_TOGGLES_H
#define KLB_REGISTRY_TOGGLES_H

#include "core/message_reporter.h"
#include "registry/registry.h"

#include <stdexcept>
#include <string_view>

namespace klb {

/// Registers a toggle for a token and determines its value from the host's default, the token's
/// file and the override file. The first call with overrides enabled registers the override file.
void registerToggle(Registry& registry, const char* key, bool defaultValue, const char* token,
                    bool isDynamic);

/// Gives a toggle a comment for the default toggle report. The first one stays: later ones are
/// dropped silently.
void addToggleComment(Registry& registry, const char* key, const char* comment);

/// Warns the host that it asked for an unknown key.
void warnOfUnregisteredKey(const char* key);

// Hosts query in their inner loops, so the rest is inline: calls between an export and the index
// would be a good part of the whole.

/// Reports a null key, an empty one and one that does not begin with "/", each with the caller's
/// text; true for any other key. Registration accepts the last two.
inline bool isQueryableKey(const char* key, const char* nullText, const char* emptyText,
                           const char* slashText) {
    if (key == nullptr) {
        reportInvalidArgument(nullText);
        return false;
    }
    if (*key == '\0') {
        reportInvalidArgument(emptyText);
        return false;
    }
    if (*key != '/') {
        reportInvalidArgument(slashText);
        return false;
    }
    return true;
}

/// The record of a key, or null.
inline ToggleRecord* findToggle(const Registry& registry, std::string_view key) {
    return registry.toggleIndex.find(key);
}

/// The value of a static or of a dynamic toggle; false, with a warning, for an unknown key.
inline bool getToggle(const Registry& registry, const char* key, bool dynamic) {
    if (!isQueryableKey(key, "getToggle: toggleKey cannot be NULL.",
                        "getToggle: key cannot be an empty string.",
                        "getToggle: key must start with '/' character.")) {
        return false;
    }
    const ToggleRecord* toggle = findToggle(registry, key);
    if (toggle == nullptr) {
        warnOfUnregisteredKey(key);
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

/// Changes the value of a dynamic toggle.
inline void setDynamicToggle(Registry& registry, const char* key, bool value) {
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
    toggle->setValue(value, false);
}

/// Whether a static or a dynamic toggle of this key is registered. \throws std::invalid_argument
/// for a null key, with or without a message callback.
inline bool lookupToggle(const Registry& registry, const char* key, bool dynamic) {
    if (key == nullptr) {
        throw std::invalid_argument("getToggle: toggleKey cannot be NULL.");
    }
    const ToggleRecord* toggle = findToggle(registry, key);
    return toggle != nullptr && toggle->isDynamic == dynamic;
}

} // namespace klb

#endif
