#ifndef KLB_CORE_ROLLBACK_H
#define KLB_CORE_ROLLBACK_H

#include <utility>

namespace klb {

/// Undoes a step when the scope is left before commit(), that is by an exception.
template <class Undo>
class Rollback {
public:
    explicit Rollback(Undo undo) : undo_(std::move(undo)) {}
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;
    ~Rollback() {
        if (armed_) {
            undo_();
        }
    }

    void commit() noexcept {
        armed_ = false;
    }

private:
    Undo undo_;
    bool armed_ = true;
};

} // namespace klb

#endif
