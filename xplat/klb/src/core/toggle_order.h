#ifndef KLB_CORE_TOGGLE_ORDER_H
#define KLB_CORE_TOGGLE_ORDER_H

#include <cstddef>
#include <vector>

namespace klb {

struct ToggleRecord;

/// Toggles for a report, which wants them in the byte order of their keys. Hosts register thousands
/// while their user waits and seldom ask for a report, so the order is made when it is asked for,
/// and only when the toggles did not come in it. Not synchronised, also where it is const: the
/// library lock guards it.
class ToggleOrder {
public:
    /// Takes the memory that the next add() needs.
    void makeRoom();
    /// A toggle whose key is not there yet; after makeRoom().
    void add(ToggleRecord& toggle) noexcept;

    const std::vector<ToggleRecord*>& inKeyOrder() const;

    bool empty() const noexcept {
        return toggles_.empty();
    }
    std::size_t size() const noexcept {
        return toggles_.size();
    }

private:
    mutable std::vector<ToggleRecord*> toggles_;
    mutable bool ordered_ = true;
};

} // namespace klb

#endif
