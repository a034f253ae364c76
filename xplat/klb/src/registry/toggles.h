#ifndef KLB_REGISTRY_TOGGLES_H
#define KLB_REGISTRY_TOGGLES_H

#include "core/registry.h"

#include <string_view>

namespace klb {

/// Registers a toggle against a token and settles its value from the host's default, the token's
/// file and the override file. The first call with overrides enabled registers the override file.
void registerToggle(Registry& registry, const char* key, bool defaultValue, const char* token,
                    bool isDynamic);

/// The value of a static or of a dynamic toggle; false, with a warning, for an unknown key.
bool getToggle(const Registry& registry, const char* key, bool dynamic);

/// Changes the value of a dynamic toggle.
void setDynamicToggle(Registry& registry, const char* key, bool value);

struct ToggleLookup {
    bool registered = false;
    bool isDynamic = false;
};

/// Whether a key is known and of which kind it is. \throws std::invalid_argument for a null key,
/// with or without a message callback.
ToggleLookup lookupToggle(const Registry& registry, const char* key);

/// The record of a key, or null.
ToggleRecord* findToggle(const Registry& registry, std::string_view key);

} // namespace klb

#endif
