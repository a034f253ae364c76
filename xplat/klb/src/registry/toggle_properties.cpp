#include "registry/toggle_properties.h"

#include "core/message_reporter.h"
#include "core/properties.h"
#include "registry/key_check.h"
#include "registry/toggles.h"

#include <memory_resource>
#include <string>

namespace klb {

void addProperty(ToggleRecord& toggle, std::string_view name, std::string_view value,
                 std::pmr::memory_resource& memory) {
    if (ToggleProperties(toggle).contain(name)) {
        return;
    }
    std::pmr::polymorphic_allocator<> allocator(&memory);
    auto* added = allocator.new_object<ToggleProperty>();
    added->name = name;
    added->value = copyText(value, memory);
    ToggleProperty** last = &toggle.addedProperties;
    while (*last != nullptr) {
        last = &(*last)->next;
    }
    *last = added;
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
    addProperty(*toggle, name, value, registry.toggleMemory);
}

} // namespace klb
