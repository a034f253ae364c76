#include "plain_records.h"

#include <utility>

namespace klb::bench {

void PlainRecords::add(const char* key, bool defaultValue) {
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

void PlainRecords::addAll(const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        add(key.c_str(), false);
    }
}

} // namespace klb::bench
