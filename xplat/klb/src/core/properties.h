#ifndef KLB_CORE_PROPERTIES_H
#define KLB_CORE_PROPERTIES_H

#include "core/records.h"

#include <string_view>

namespace klb {

/// The properties of a toggle in the order in which they came to be, each name once. Names are
/// constants of the library. The first three are facts of the record, so they are not kept twice.
/// Valid as long as no property is added.
class ToggleProperties {
public:
    explicit ToggleProperties(const ToggleRecord& toggle) noexcept
        : defaultValue_(toggle.defaultValue),
          isDynamic_(toggle.isDynamic),
          file_(toggle.file),
          firstAdded_(toggle.addedProperties) {}

    /// Calls visit(name, value) for each; a value is a bool or a std::string_view.
    template <class Visitor>
    void visit(Visitor&& visit) const {
        visit(std::string_view("KLB_DefaultValue"), defaultValue_);
        visit(std::string_view("KLB_IsDynamic"), isDynamic_);
        visit(std::string_view("KLB_ToggleFileToken"), std::string_view(file_->token));
        for (const auto* property = firstAdded_; property != nullptr; property = property->next) {
            visit(property->name, property->value);
        }
    }

    bool contain(std::string_view name) const {
        bool found = false;
        visit([&](std::string_view known, const auto&) { found = found || known == name; });
        return found;
    }

private:
    bool defaultValue_;
    bool isDynamic_;
    const ToggleFileRecord* file_;
    const ToggleProperty* firstAdded_;
};

} // namespace klb

#endif
