#include "registry/toggle_properties.h"

namespace klb {

JsonValue toggleProperties(const ToggleRecord& toggle, JsonPool& pool) {
    const auto text = [&pool](std::string_view characters) {
        return JsonValue(characters.data(), static_cast<rapidjson::SizeType>(characters.size()),
                         pool);
    };
    JsonValue properties(rapidjson::kObjectType);
    properties.AddMember(text("KLB_DefaultValue"), JsonValue(toggle.defaultValue), pool);
    properties.AddMember(text("KLB_IsDynamic"), JsonValue(toggle.isDynamic), pool);
    properties.AddMember(text("KLB_ToggleFileToken"), text(toggle.file->token), pool);
    return properties;
}

} // namespace klb
