#ifndef KLB_REGISTRY_TOGGLE_FILES_H
#define KLB_REGISTRY_TOGGLE_FILES_H

#include "core/registry.h"

#include <string_view>

namespace klb {

/// The record of a token, made with this type when the token is new. An existing record stays as it
/// is. \throws std::invalid_argument for a null token, with or without a message callback.
ToggleFileRecord& registerToggleFileToken(Registry& registry, KLB_ToggleFileType type,
                                          const char* tokenName);

/// The record of a token, or null.
ToggleFileRecord* findToggleFile(const Registry& registry, std::string_view token);

/// Whether a token is known, with or without a file.
bool isFeatureToggleFileRegistered(const Registry& registry, const char* token);

/// Attaches a file to a token and loads it; reports what keeps it from being used.
void registerToggleFile(Registry& registry, KLB_ToggleFileType type, const char* token,
                        const char* file);

} // namespace klb

#endif
