#include "registry/toggle_properties.h"

#include <gtest/gtest.h>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace klb {
namespace {

std::string textOf(const JsonValue& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

TEST(ToggleProperties, AreTheFactsOfRegistrationInOrder) {
    ToggleFileRecord file;
    file.token = "core \"tools\"";
    ToggleRecord toggle;
    toggle.file = &file;
    toggle.defaultValue = true;
    toggle.currentValue = false;
    toggle.differs = true;
    JsonPool pool;
    EXPECT_EQ(textOf(toggleProperties(toggle, pool)),
              R"({"KLB_DefaultValue":true,"KLB_IsDynamic":false,)"
              R"("KLB_ToggleFileToken":"core \"tools\""})");
    toggle.isDynamic = true;
    toggle.defaultValue = false;
    EXPECT_EQ(textOf(toggleProperties(toggle, pool)),
              R"({"KLB_DefaultValue":false,"KLB_IsDynamic":true,)"
              R"("KLB_ToggleFileToken":"core \"tools\""})");
}

} // namespace
} // namespace klb
