#ifndef KLB_BENCH_PLAIN_RECORDS_H
#define KLB_BENCH_PLAIN_RECORDS_H

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

namespace klb::bench {

/// What any registry of toggles keeps of a toggle, without any rule about it.
struct PlainRecord {
    struct Property {
        std::string_view name;
        std::variant<bool, std::string_view> value;
    };

    std::string key;
    bool defaultValue;
    bool currentValue;
    bool isDynamic;
    bool overridden;
    const std::string* token;
    std::vector<Property> properties;
};

/// The records in an ordered and in a hash map.
struct PlainRecords {
    std::string token = "bench";
    std::map<std::string_view, std::unique_ptr<PlainRecord>> inOrder;
    std::unordered_map<std::string_view, PlainRecord*> index;

    void add(const char* key, bool defaultValue);
    void addAll(const std::vector<std::string>& keys);
};

} // namespace klb::bench

#endif
