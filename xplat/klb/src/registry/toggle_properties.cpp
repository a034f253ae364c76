#include "registry/toggle_properties.h"

#include "core/message_reporter.h"
#include "core/properties.h"
#include "registry/key_check.h"
#include "registry/toggles.h"

#include <string>

namespace klb {

void addProperty(ToggleRecord& toggle, std::string_view name, std::string_view value) {
    if (!ToggleProperties(toggle).contain(name)) {
        toggle.addedProperties.push_back({name, std::string(value)});
    }
}

void addToggleProperty(Registry& registry, const char* key, std::string_view name,
                       const char* value) {
    if (!isQueryableKey(key, "addToggleProperty: toggleKey cannot be NULL.",
                        "addToggleProperty: key cannot be an empty string.",
                        "addToggleProperty: key must start with '/' character.")) {
        return;
    }
    if (value == nullptr) {
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
    addProperty(*toggle, name, value);
}

} // namespace klb
