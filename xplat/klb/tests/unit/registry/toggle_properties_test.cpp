#include "registry/toggle_properties.h"

#include "core/properties.h"

#include <gtest/gtest.h>

#include <memory_resource>
#include <string>
#include <vector>

namespace klb {
namespace {

struct PropertyLines {
    std::vector<std::string> lines;

    void operator()(std::string_view name, bool value) {
        lines.push_back(std::string(name) + (value ? " true" : " false"));
    }
    void operator()(std::string_view name, std::string_view value) {
        lines.push_back(std::string(name) + " '" + std::string(value) + "'");
    }
};

std::vector<std::string> propertiesOf(const ToggleRecord& toggle) {
    PropertyLines properties;
    ToggleProperties(toggle).visit(properties);
    return properties.lines;
}

class AddProperty : public testing::Test {
protected:
    AddProperty() {
        file.token = "core";
        toggle.file = &file;
        toggle.defaultValue = true;
        toggle.currentValue = false;
        toggle.differs = true;
    }

    std::pmr::monotonic_buffer_resource memory;
    ToggleFileRecord file;
    ToggleRecord& toggle = createToggle("/key", memory);
};

TEST_F(AddProperty, ComesBehindTheFactsOfRegistration) {
    EXPECT_EQ(propertiesOf(toggle),
              (std::vector<std::string>{"KLB_DefaultValue true", "KLB_IsDynamic false",
                                        "KLB_ToggleFileToken 'core'"}));
    toggle.isDynamic = true;
    toggle.defaultValue = false;
    addProperty(toggle, "b", "1", memory);
    addProperty(toggle, "a", "", memory);
    EXPECT_EQ(propertiesOf(toggle),
              (std::vector<std::string>{"KLB_DefaultValue false", "KLB_IsDynamic true",
                                        "KLB_ToggleFileToken 'core'", "b '1'", "a ''"}));
}

TEST_F(AddProperty, FirstValueStays) {
    for (const char* name :
         {"a", "a", "KLB_DefaultValue", "KLB_IsDynamic", "KLB_ToggleFileToken"}) {
        EXPECT_EQ(ToggleProperties(toggle).contain(name),
                  std::string_view(name) != "a" || toggle.addedProperties != nullptr);
        addProperty(toggle, name, toggle.addedProperties == nullptr ? "first" : "later", memory);
    }
    EXPECT_EQ(propertiesOf(toggle),
              (std::vector<std::string>{"KLB_DefaultValue true", "KLB_IsDynamic false",
                                        "KLB_ToggleFileToken 'core'", "a 'first'"}));
}

} // namespace
} // namespace klb
