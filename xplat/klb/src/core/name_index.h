#ifndef KLB_CORE_NAME_INDEX_H
#define KLB_CORE_NAME_INDEX_H

#include <string_view>
#include <unordered_map>

namespace klb {

/// Finds an object by name in one probe. The names stay with their owners.
template <class Value>
using NameIndex = std::unordered_map<std::string_view, Value*>;

} // namespace klb

#endif
