#include "toggle_sets.h"

#include <algorithm>
#include <random>

namespace klb::bench {

namespace {

std::string numbered(const char* name, std::size_t number, int digits) {
    const std::string text = std::to_string(number);
    const std::size_t width = static_cast<std::size_t>(digits);
    return name + std::string(width - std::min(width, text.size()), '0') + text;
}

std::string groupName(const Shape& shape, std::size_t group) {
    return numbered("group", group, shape.groupDigits);
}

std::string featureName(const Shape& shape, std::size_t index) {
    return numbered("feature", index, shape.featureDigits);
}

/// Members for that many features.
std::string makeFeatures(const Shape& shape, std::size_t count) {
    std::string text;
    for (std::size_t index = 0; index < count; ++index) {
        text += index == 0 ? "\"" : ",\n\"";
        text += featureName(shape, index);
        text += index % 2 == 0 ? "\": true" : "\": false";
    }
    return text;
}

} // namespace

std::string makeKey(const Shape& shape, std::size_t index) {
    if (shape.groupSize == 0) {
        return "/" + featureName(shape, index);
    }
    return "/" + groupName(shape, index / shape.groupSize) + "/" +
           featureName(shape, index % shape.groupSize);
}

std::vector<std::string> makeKeys(const Shape& shape, std::size_t count) {
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

std::string makeMembers(const Shape& shape, std::size_t count) {
    if (shape.groupSize == 0) {
        return makeFeatures(shape, count);
    }
    std::string text;
    for (std::size_t begin = 0; begin < count; begin += shape.groupSize) {
        text += begin == 0 ? "\"" : ",\n\"";
        text += groupName(shape, begin / shape.groupSize) + "\": {\n";
        text += makeFeatures(shape, std::min(count - begin, shape.groupSize));
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
