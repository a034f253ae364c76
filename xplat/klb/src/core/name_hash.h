#ifndef KLB_CORE_NAME_HASH_H
#define KLB_CORE_NAME_HASH_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace klb {

/// Hashes names that the host chooses.
struct NameHash {
    std::size_t operator()(std::string_view name) const noexcept {
        return static_cast<std::size_t>(XXH3_64bits(name.data(), name.size()));
    }
};

/// A number that whoever writes a file cannot know beforehand; the same one in all of a process.
std::uint64_t hashSeed() noexcept;

/// Hashes names that come from files, with a seed: who writes a file cannot foresee which names
/// meet in one place.
class SeededNameHash {
public:
    explicit SeededNameHash(std::uint64_t seed = hashSeed()) noexcept : seed_(seed) {}

    std::size_t operator()(std::string_view name) const noexcept {
        return static_cast<std::size_t>(XXH3_64bits_withSeed(name.data(), name.size(), seed_));
    }

private:
    std::uint64_t seed_;
};

} // namespace klb

#endif
