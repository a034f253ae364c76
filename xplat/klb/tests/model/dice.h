#ifndef KLB_TESTS_MODEL_DICE_H
#define KLB_TESTS_MODEL_DICE_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace klb::test {

/// Draws that depend on the seed alone, not on the platform.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : engine_(seed) {}

    std::size_t below(std::size_t limit) {
        return static_cast<std::size_t>(engine_() % limit);
    }
    bool chance(std::size_t percent) {
        return below(100) < percent;
    }
    template <class Element>
    const Element& pick(const std::vector<Element>& list) {
        return list[below(list.size())];
    }
    /// The same, with the first elements of a list the most likely ones.
    template <class Element>
    const Element& pickEarly(const std::vector<Element>& list) {
        return list[below(below(list.size()) + 1)];
    }

private:
    std::mt19937_64 engine_;
};

} // namespace klb::test

#endif
