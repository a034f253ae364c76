#include "core/name_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace klb {
namespace {

struct Named {
    std::string name;
    int number;
};

std::string_view nameOf(const Named& object) {
    return object.name;
}

template <class Hash>
class NameIndexOf : public testing::Test {};

using Hashes = testing::Types<NameHash, SeededNameHash>;
TYPED_TEST_SUITE(NameIndexOf, Hashes);

TYPED_TEST(NameIndexOf, FindsWhatWasInserted) {
    std::vector<Named> objects;
    std::string longName;
    for (int i = 0; i < 1000; ++i) {
        // Every length that the hash treats in a way of its own is among these.
        objects.push_back({longName, i});
        objects.push_back({"/group/feature" + std::to_string(i), i});
        longName += static_cast<char>(i);
    }
    NameIndex<Named, TypeParam> index;
    EXPECT_EQ(index.find(""), nullptr);
    for (Named& object : objects) {
        index.insert(object);
    }
    EXPECT_EQ(index.size(), objects.size());
    for (Named& object : objects) {
        EXPECT_EQ(index.find(object.name), &object);
        EXPECT_EQ(index.find(object.name + "//"), nullptr);
    }
    EXPECT_EQ(index.find("/group/feature1000"), nullptr);
}

TYPED_TEST(NameIndexOf, KeepsTheFirstOfAName) {
    Named first{"name", 1};
    Named second{"name", 2};
    NameIndex<Named, TypeParam> index;
    index.reserve(2);
    index.insert(first);
    index.insert(second);
    EXPECT_EQ(index.size(), 1U);
    EXPECT_EQ(index.find("name"), &first);
}

TEST(SeededNameHash, DependsOnItsSeed) {
    std::set<std::size_t> hashes;
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
        const SeededNameHash hash(seed);
        const SeededNameHash copy = hash;
        EXPECT_EQ(hash("/group/feature"), copy("/group/feature"));
        hashes.insert(hash("/group/feature"));
    }
    EXPECT_EQ(hashes.size(), 100U);
    EXPECT_EQ(SeededNameHash()("/group/feature"), SeededNameHash(hashSeed())("/group/feature"));
}

} // namespace
} // namespace klb
