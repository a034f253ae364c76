#ifndef KLB_CORE_NAME_INDEX_H
#define KLB_CORE_NAME_INDEX_H

#include "core/name_hash.h"

#include <cstddef>
#include <string_view>

#include <boost/unordered/unordered_flat_set.hpp>

namespace klb {

/// Finds objects by name in one probe. Objects and names stay with their owners; the index has
/// nothing of them but their addresses. A function nameOf(const Object&) beside the object's type
/// tells a name.
template <class Object, class HashOfName>
class NameIndex {
public:
    /// Takes the memory for so many objects: no insertion up to there needs any.
    void reserve(std::size_t count) {
        objects_.reserve(count);
    }
    /// Leaves an object of the same name in its place.
    void insert(Object& object) {
        objects_.insert(&object);
    }

    /// The object of this name, or null.
    Object* find(std::string_view name) const {
        const auto found = objects_.find(name);
        return found != objects_.end() ? *found : nullptr;
    }
    std::size_t size() const noexcept {
        return objects_.size();
    }

private:
    struct Hash {
        using is_transparent = void;
        /// Every bit of the name decides about every bit of the hash.
        using is_avalanching = void;
        std::size_t operator()(std::string_view name) const noexcept {
            return hash(name);
        }
        std::size_t operator()(const Object* object) const noexcept {
            return hash(nameOf(*object));
        }
        HashOfName hash;
    };
    struct SameName {
        using is_transparent = void;
        bool operator()(const Object* object, std::string_view name) const noexcept {
            return nameOf(*object) == name;
        }
        bool operator()(std::string_view name, const Object* object) const noexcept {
            return nameOf(*object) == name;
        }
        bool operator()(const Object* one, const Object* other) const noexcept {
            return nameOf(*one) == nameOf(*other);
        }
    };

    boost::unordered_flat_set<Object*, Hash, SameName> objects_;
};

} // namespace klb

#endif
