#include "reports/json_text.h"

#include <vector>

namespace klb {

void writeIndented(const JsonValue& object, std::size_t depth, ReportBuffer& report) {
    struct Level {
        JsonValue::ConstMemberIterator next;
        JsonValue::ConstMemberIterator end;
    };
    IndentingWriter<ReportBuffer> writer(report, depth);
    std::vector<Level> levels;
    levels.reserve(depth);
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
