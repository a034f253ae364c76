#include "registry/registry.h"

#include <gtest/gtest.h>

#include <memory_resource>
#include <string>

namespace klb {
namespace {

class KeyOrder : public testing::Test {
protected:
    void add(std::string_view key) {
        toggles.makeRoom();
        toggles.add(createToggle(key, memory));
    }
    std::string text() const {
        std::string keys;
        for (const ToggleRecord* toggle : toggles.inKeyOrder()) {
            keys += std::string(toggle->key) + "|";
        }
        return keys;
    }

    std::pmr::monotonic_buffer_resource memory;
    ToggleOrder toggles;
};

TEST_F(KeyOrder, IsTheOrderOfBytes) {
    EXPECT_EQ(text(), "");
    for (const char* key : {"/b", "/a/b", "", "/\xff", "/a-b", "/a", "x", "/A"}) {
        add(key);
    }
    EXPECT_EQ(text(), "|/A|/a|/a-b|/a/b|/b|/\xff|x|");
    EXPECT_EQ(toggles.size(), 8U);
}

TEST_F(KeyOrder, IsMadeAnewForLaterToggles) {
    add("/b");
    add("/c");
    EXPECT_EQ(text(), "/b|/c|");
    add("/a");
    EXPECT_EQ(text(), "/a|/b|/c|");
    add("/d");
    add("/bb");
    EXPECT_EQ(text(), "/a|/b|/bb|/c|/d|");
}

TEST(CreateToggle, PutsTheKeyBehindTheRecord) {
    std::pmr::monotonic_buffer_resource memory;
    const std::string longKey(100'000, 'k');
    for (const std::string& key : {std::string(), std::string("/a"), longKey}) {
        const ToggleRecord& toggle = createToggle(key, memory);
        EXPECT_EQ(toggle.key, key);
        EXPECT_EQ(nameOf(toggle), key);
        EXPECT_FALSE(toggle.value());
        EXPECT_EQ(toggle.comment, nullptr);
    }
}

} // namespace
} // namespace klb
