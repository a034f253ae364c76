#ifndef KLB_BENCH_LOCKED_MAP_H
#define KLB_BENCH_LOCKED_MAP_H

#include "plain_records.h"

#include "core/spinning_mutex.h"

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/strings/string_view.h>

namespace klb::bench {

/// The least that a registry with a lock like the library's can do to answer a query.
class LockedMap {
public:
    explicit LockedMap(const std::vector<std::string>& keys) {
        records_.addAll(keys);
        for (const auto& [key, record] : records_.inOrder) {
            map_.emplace(absl::string_view(key.data(), key.size()), record.get());
        }
    }

    const PlainRecord* find(const char* key) {
        const std::lock_guard guard(lock_);
        const auto known = map_.find(absl::string_view(key, std::strlen(key)));
        return known != map_.end() ? known->second : nullptr;
    }

private:
    SpinningMutex lock_;
    PlainRecords records_;
    absl::flat_hash_map<absl::string_view, PlainRecord*> map_;
};

} // namespace klb::bench

#endif
