#ifndef KLB_CORE_NAME_INDEX_H
#define KLB_CORE_NAME_INDEX_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <boost/unordered/unordered_flat_set.hpp>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace klb {

/// Hashes names that the host chooses.
struct NameHash {
    std::size_t operator()(std::string_view name) const noexcept {
        return static_cast<std::size_t>(XXH3_64bits(name.data(), name.size()));
    }
};

/// A random number that stays the same for the whole process.
std::uint64_t hashSeed() noexcept;

/// Hashes names that come from files, with a seed: the author of a file cannot predict which names
/// collide.
class SeededNameHash {
public:
    explicit SeededNameHash(std::uint64_t seed = hashSeed()) noexcept : seed_(seed) {}

    std::size_t operator()(std::string_view name) const noexcept {
        return static_cast<std::size_t>(XXH3_64bits_withSeed(name.data(), name.size(), seed_));
    }

private:
    std::uint64_t seed_;
};

/// Finds objects by name with one probe. It stores pointers only: objects and names stay with their
/// owners. A function nameOf(const Object&) beside the object's type gives the name.
template <class Object, class HashOfName>
class NameIndex {
public:
    /// Allocates for this many objects: inserting up to there needs no memory.
    void reserve(std::size_t count) {
        objects_.reserve(count);
    }
    /// Does nothing when an object of the same name is there.
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
        /// Every bit of the hash depends on every bit of the name.
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
