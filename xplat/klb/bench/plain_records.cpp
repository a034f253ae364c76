#include "plain_records.h"

#include <utility>

namespace klb::bench {

void PlainRecords::add(const char* key, bool defaultValue, const std::string& token) {
    auto record = std::make_unique<PlainRecord>(
        PlainRecord{key, defaultValue, defaultValue, false, false, &token, {}});
    record->properties.reserve(3);
    record->properties.push_back({"KLB_DefaultValue", defaultValue});
    record->properties.push_back({"KLB_IsDynamic", false});
    record->properties.push_back({"KLB_ToggleFileToken", std::string_view(token)});
    index.emplace(record->key, record.get());
    const std::string_view name = record->key;
    inOrder.emplace(name, std::move(record));
}

} // namespace klb::bench
