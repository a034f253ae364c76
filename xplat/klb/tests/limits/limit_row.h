#ifndef KLB_TESTS_LIMITS_LIMIT_ROW_H
#define KLB_TESTS_LIMITS_LIMIT_ROW_H

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace klb::test {

/// How large a thing is in the table, and in the tests of every build.
struct LimitSizes {
    std::uint64_t whole;
    std::uint64_t shortened;
};

/// One row of the table of limits: the largest thing of a kind. In the tests of every build it is
/// shortened and nothing is printed; for the table it is whole, and its line is printed in the end.
class LimitRow {
public:
    LimitRow(std::string what, LimitSizes sizes);
    ~LimitRow();
    LimitRow(const LimitRow&) = delete;
    LimitRow& operator=(const LimitRow&) = delete;

    std::uint64_t size() const noexcept {
        return size_;
    }
    static bool isWhole() noexcept {
        return whole_;
    }
    static void setWhole() noexcept {
        whole_ = true;
    }

    /// Whether the machine has that much memory and disk space; always true of a shortened row. A
    /// row without it says `lack()` and is skipped.
    bool fits(std::uint64_t memory, std::uint64_t disk = 0);
    const std::string& lack() const noexcept {
        return lack_;
    }

    /// Makes a call of the library, whose time counts.
    template <class Call>
    decltype(auto) timed(Call&& call) {
        const Timer timer(*this);
        return std::forward<Call>(call)();
    }

    /// What one step beyond the size does, in words; after that was checked.
    void beyond(std::string outcome) {
        beyond_ = std::move(outcome);
    }

private:
    using Clock = std::chrono::steady_clock;

    class Timer {
    public:
        explicit Timer(LimitRow& row) noexcept : row_(row), started_(Clock::now()) {}
        ~Timer() {
            row_.time_ += Clock::now() - started_;
        }
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;

    private:
        LimitRow& row_;
        Clock::time_point started_;
    };

    static bool whole_;

    std::string what_;
    std::uint64_t size_;
    std::string lack_;
    Clock::duration time_{};
    std::string beyond_ = "no limit met";
};

} // namespace klb::test

#endif
