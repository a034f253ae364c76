#include "documents/json_text.h"

#include <algorithm>
#include <vector>

namespace klb {

void JsonText::grow(std::size_t count) {
    constexpr std::size_t kFirstCapacity = 4096;
    const std::size_t capacity = std::max({kFirstCapacity, 2 * capacity_, size_ + count});
    bytes_ = static_cast<char*>(JsonAllocator().Realloc(bytes_, capacity_, capacity));
    capacity_ = capacity;
}

void writeIndented(const JsonValue& object, JsonText& text) {
    struct Level {
        JsonValue::ConstMemberIterator next;
        JsonValue::ConstMemberIterator end;
    };
    IndentingWriter<JsonText> writer(text);
    std::vector<Level> levels;
    const auto open = [&](const JsonValue& opened) {
        writer.StartObject();
        levels.push_back({opened.MemberBegin(), opened.MemberEnd()});
    };
    open(object);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.end) {
            writer.EndObject();
            levels.pop_back();
            continue;
        }
        const auto& [name, value] = *level.next++;
        writer.Key(name.GetString(), name.GetStringLength());
        if (value.IsObject()) {
            open(value);
        } else if (value.IsBool()) {
            writer.Bool(value.GetBool());
        } else {
            writer.String(value.GetString(), value.GetStringLength());
        }
    }
}

} // namespace klb
