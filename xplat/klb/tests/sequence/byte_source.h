#ifndef KLB_TESTS_SEQUENCE_BYTE_SOURCE_H
#define KLB_TESTS_SEQUENCE_BYTE_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace klb::test {

/// Draws from a given stock of bytes; when it is used up, each draw is the first choice.
class ByteSource {
public:
    explicit ByteSource(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool isUsedUp() const {
        return bytes_.empty();
    }
    /// A number below the limit, which is 256 at most.
    std::size_t below(std::size_t limit) {
        if (bytes_.empty()) {
            return 0;
        }
        const std::size_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte % limit;
    }
    /// True once in so many draws.
    bool isOneIn(std::size_t draws) {
        return below(draws) + 1 == draws;
    }
    template <class Element>
    const Element& pick(const std::vector<Element>& list) {
        return list[below(list.size())];
    }

private:
    std::span<const std::uint8_t> bytes_;
};

} // namespace klb::test

#endif
