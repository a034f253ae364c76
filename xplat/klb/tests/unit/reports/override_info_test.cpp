#include "reports/override_info.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace klb {
namespace {

class GetOverrideInfoString : public testing::Test {
protected:
    ToggleFileRecord& addFile(const char* token, const char* path) {
        auto file = std::make_unique<ToggleFileRecord>();
        file->token = token;
        file->path = path;
        const std::string_view name = file->token;
        return *(registry.filesByToken[name] = std::move(file));
    }

    void addToggle(ToggleFileRecord& file, const char* key, bool value, bool differs) {
        ToggleRecord& toggle = createToggle(key, registry.toggleMemory);
        toggle.currentValue = value;
        toggle.differs = differs;
        toggle.file = &file;
        file.differingToggles.makeRoom();
        file.differingToggles.add(toggle);
    }

    std::string text() const {
        std::string buffer(1000, '#');
        const std::uint64_t count = getOverrideInfoString(registry, buffer.data(), buffer.size());
        return buffer.substr(0, static_cast<std::size_t>(count));
    }

    Registry registry;
};

TEST_F(GetOverrideInfoString, NamesAnUnknownPath) {
    ToggleFileRecord& file = addFile("token", "");
    addToggle(file, "/b", true, true);
    EXPECT_EQ(text(), std::string("token : UNKNONN\n/b : true\n") + '\0');
}

TEST_F(GetOverrideInfoString, ListsWhatDiffersAndNothingElse) {
    ToggleFileRecord& file = addFile("token", "path");
    addToggle(file, "/b", true, true);
    addToggle(file, "/a", true, false);
    addToggle(file, "/c", false, true);
    addFile("another", "path");
    EXPECT_EQ(text(), std::string("token : path\n/b : true\n/c : false\n") + '\0');
}

TEST_F(GetOverrideInfoString, BeginsWithTheDevice) {
    registry.deviceId = "XYZ";
    EXPECT_EQ(getOverrideInfoString(registry, nullptr, 0), 16U);
    EXPECT_EQ(text(), std::string("DeviceID : XYZ\n") + '\0');
}

} // namespace
} // namespace klb
