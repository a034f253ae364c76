#ifndef KLB_CORE_NAME_HASH_H
#define KLB_CORE_NAME_HASH_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace klb {

/// A number that whoever writes a file cannot know beforehand.
std::uint64_t drawHashSeed() noexcept;

/// Hashes names. Each index draws a seed of its own, so that no file can be made whose names all
/// meet in one place.
class NameHash {
public:
    NameHash() noexcept : seed_(drawHashSeed()) {}

    std::size_t operator()(std::string_view name) const noexcept {
        return static_cast<std::size_t>(XXH3_64bits_withSeed(name.data(), name.size(), seed_));
    }

private:
    std::uint64_t seed_;
};

} // namespace klb

#endif
