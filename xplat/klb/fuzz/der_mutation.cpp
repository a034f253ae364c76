#include "der_mutation.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace klb::fuzz {

namespace {

constexpr unsigned char kConstructed = 0x20;
constexpr unsigned char kManyByteTag = 0x1f;
constexpr int kMaxDepth = 64;

struct Element {
    char type = 0;
    /// Of an element that has no elements.
    std::string content;
    std::vector<Element> elements;
};

using Elements = std::vector<Element>;

std::optional<std::size_t> takeLength(std::string_view& bytes) {
    if (bytes.empty()) {
        return std::nullopt;
    }
    const auto first = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    if (first < 0x80) {
        return first;
    }
    const std::size_t count = first - 0x80U;
    if (count == 0 || count > 4 || count > bytes.size()) {
        return std::nullopt;
    }
    std::size_t length = 0;
    for (const char byte : bytes.substr(0, count)) {
        length = length << 8 | static_cast<unsigned char>(byte);
    }
    bytes.remove_prefix(count);
    return length;
}

std::optional<Elements> parsed(std::string_view bytes, int depth = 0) {
    Elements elements;
    while (!bytes.empty()) {
        const auto type = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        const std::optional<std::size_t> length = takeLength(bytes);
        if (depth > kMaxDepth || (type & kManyByteTag) == kManyByteTag || !length ||
            *length > bytes.size()) {
            return std::nullopt;
        }
        const std::string_view content = bytes.substr(0, *length);
        bytes.remove_prefix(*length);
        Element element{static_cast<char>(type), {}, {}};
        if ((type & kConstructed) == 0) {
            element.content = content;
        } else if (std::optional<Elements> inner = parsed(content, depth + 1)) {
            element.elements = std::move(*inner);
        } else {
            return std::nullopt;
        }
        elements.push_back(std::move(element));
    }
    return elements;
}

void appendLength(std::size_t length, std::string& bytes) {
    if (length < 0x80) {
        bytes += static_cast<char>(length);
        return;
    }
    std::string digits;
    for (; length != 0; length >>= 8) {
        digits.insert(digits.begin(), static_cast<char>(length));
    }
    bytes += static_cast<char>(0x80 + digits.size());
    bytes += digits;
}

std::string encoded(const Elements& elements) {
    std::string bytes;
    for (const Element& element : elements) {
        const std::string content = element.content + encoded(element.elements);
        bytes += element.type;
        appendLength(content.size(), bytes);
        bytes += content;
    }
    return bytes;
}

struct Place {
    Elements* siblings = nullptr;
    std::size_t index = 0;
    Element& element() const {
        return (*siblings)[index];
    }
};

void addPlaces(Elements& elements, std::vector<Place>& places) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
        places.push_back({&elements, i});
        addPlaces(elements[i].elements, places);
    }
}

void change(Elements& elements, const ByteMutation& mutate, std::minstd_rand& random) {
    std::vector<Place> places;
    addPlaces(elements, places);
    const Place& place = places[random() % places.size()];
    const auto at = place.siblings->begin() + static_cast<std::ptrdiff_t>(place.index);
    const Element other = places[random() % places.size()].element();
    switch (random() % 8) {
    case 0:
        place.siblings->erase(at);
        break;
    case 1:
        place.siblings->insert(at, Element(place.element()));
        break;
    case 2:
        place.siblings->insert(at, other);
        break;
    case 3:
        place.element() = other;
        break;
    case 4:
        place.element().type = static_cast<char>(random());
        break;
    default:
        // With what it has inside, or what this makes of it.
        place.element().content =
            mutate(place.element().content + encoded(place.element().elements));
        place.element().elements.clear();
        break;
    }
}

} // namespace

std::string mutatedDer(const std::string& der, const ByteMutation& mutate,
                       std::minstd_rand& random) {
    std::optional<Elements> elements = parsed(der);
    if (!elements || elements->empty()) {
        return mutate(der);
    }
    change(*elements, mutate, random);
    return encoded(*elements);
}

} // namespace klb::fuzz
