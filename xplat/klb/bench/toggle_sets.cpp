#include "toggle_sets.h"

#include <algorithm>
#include <random>

namespace klb::bench {

namespace {

constexpr std::size_t kGroupSize = 100;

std::string groupName(std::size_t group) {
    return "group" + std::to_string(group);
}

std::string featureName(std::size_t index) {
    return "feature" + std::to_string(index);
}

/// Members for the features from begin up to end.
std::string makeFeatures(std::size_t begin, std::size_t end) {
    std::string text;
    for (std::size_t index = begin; index < end; ++index) {
        text += index == begin ? "\"" : ",\n\"";
        text += featureName(index);
        text += index % 2 == 0 ? "\": true" : "\": false";
    }
    return text;
}

} // namespace

std::string makeKey(Shape shape, std::size_t index) {
    switch (shape) {
    case Shape::kFlat:
        return "/" + featureName(index);
    case Shape::kOneGroup:
        return "/" + groupName(0) + "/" + featureName(index);
    case Shape::kGroups:
        break;
    }
    return "/" + groupName(index / kGroupSize) + "/" + featureName(index);
}

std::vector<std::string> makeKeys(Shape shape, std::size_t count) {
    std::vector<std::string> keys;
    for (std::size_t index = 0; index < count; ++index) {
        keys.push_back(makeKey(shape, index));
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

std::vector<std::string> shuffled(std::vector<std::string> keys) {
    std::mt19937_64 random(1);
    std::shuffle(keys.begin(), keys.end(), random);
    return keys;
}

std::string makeMembers(Shape shape, std::size_t count) {
    if (shape == Shape::kFlat) {
        return makeFeatures(0, count);
    }
    const std::size_t groupSize = shape == Shape::kGroups ? kGroupSize : count;
    std::string text;
    for (std::size_t begin = 0; begin < count; begin += groupSize) {
        text += begin == 0 ? "\"" : ",\n\"";
        text += groupName(begin / groupSize) + "\": {\n";
        text += makeFeatures(begin, std::min(count, begin + groupSize));
        text += "\n}";
    }
    return text;
}

std::string toggleFileText(const std::string& members) {
    return "{\"features\": {\n" + members + "\n}}\n";
}

std::string overrideFileText(const std::string& members) {
    return "{\n" + members + "\n}\n";
}

} // namespace klb::bench
