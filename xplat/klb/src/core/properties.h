#ifndef KLB_CORE_PROPERTIES_H
#define KLB_CORE_PROPERTIES_H

#include "core/records.h"

#include <string_view>

namespace klb {

/// Calls visit(name, value) for each property of a toggle, in the order in which they came to be;
/// a value is a bool or a std::string_view. Names are constants of the library. The first three
/// properties are facts of the record, so they are not kept twice.
template <class Visitor>
void visitProperties(const ToggleRecord& toggle, Visitor&& visit) {
    visit(std::string_view("KLB_DefaultValue"), toggle.defaultValue);
    visit(std::string_view("KLB_IsDynamic"), toggle.isDynamic);
    visit(std::string_view("KLB_ToggleFileToken"), std::string_view(toggle.file->token));
    for (const ToggleProperty& property : toggle.addedProperties) {
        visit(property.name, std::string_view(property.value));
    }
}

inline bool hasProperty(const ToggleRecord& toggle, std::string_view name) {
    bool found = false;
    visitProperties(toggle,
                    [&](std::string_view known, const auto&) { found = found || known == name; });
    return found;
}

} // namespace klb

#endif
