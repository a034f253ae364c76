#ifndef KLB_CORE_TOGGLE_DOCUMENT_H
#define KLB_CORE_TOGGLE_DOCUMENT_H

#include "core/json.h"
#include "core/name_index.h"

#include <unordered_map>

namespace klb {

using MemberIndex = NameIndex<const JsonMember, SeededNameHash>;

/// A parsed and accepted toggle document. Not synchronised: the library lock guards it.
struct ToggleDocument {
    /// With a cleanser, nothing of the document stays in memory that it gives back.
    explicit ToggleDocument(Cleanser cleanser = nullptr)
        : allocator(cleanser),
          pool(kPoolChunkSize, &allocator),
          root(&pool, kParserStackSize, &allocator) {}

    // RapidJSON's defaults, which it does not name in public.
    static constexpr std::size_t kPoolChunkSize = 64 * 1024;
    static constexpr std::size_t kParserStackSize = 1024;

    JsonAllocator allocator;
    JsonPool pool;
    JsonDocument root;

    /// Where a toggle file's toggles are: the root's "features" member, or else the root itself.
    const JsonValue* toggleTree = nullptr;

    /// The members of those objects that have many, each index filled when a look-up first passes
    /// the object. RapidJSON finds members by comparing one after the other.
    std::unordered_map<const JsonValue*, MemberIndex> wideObjects;
};

} // namespace klb

#endif
