#ifndef KLB_REGISTRY_TOGGLE_FILES_H
#define KLB_REGISTRY_TOGGLE_FILES_H

#include "registry/registry.h"

#include <string_view>

namespace klb {

/// Gives a token a file and loads it; reports why it cannot be used.
void registerToggleFile(Registry& registry, KLB_ToggleFileType type, const char* token,
                        const char* file);

/// The record of a token, created with this type when the token is new. An existing record stays as
/// it is. \throws std::invalid_argument for a null token, with or without a message callback.
ToggleFileRecord& registerToggleFileToken(Registry& registry, KLB_ToggleFileType type,
                                          const char* tokenName);

/// The record of a token, or null.
ToggleFileRecord* findToggleFile(const Registry& registry, std::string_view token);

/// Whether a token is known, with or without a file.
bool isFeatureToggleFileRegistered(const Registry& registry, const char* token);

/// The document of a token's file, or null. A file that was passed over is loaded again. Throws
/// nothing but std::bad_alloc, which leaves the record as it was.
ToggleDocument* documentOf(const Registry& registry, ToggleFileRecord& record);

} // namespace klb

#endif
