#ifndef KLB_KLB_LIBRARY_STATE_H
#define KLB_KLB_LIBRARY_STATE_H

#include "core/message_reporter.h"
#include "core/spinning_mutex.h"
#include "klb/manager.h"

#include <mutex>

namespace klb {

/// What the process keeps for the library besides the message callback.
struct LibraryState {
    /// The library lock: every export runs under it, callbacks of the host included.
    SpinningMutex lock;

    /// Owned, but by no smart pointer: unloading the library must not tear the manager down.
    KLBMgr* manager = nullptr;
};

extern LibraryState processState;

inline LibraryState& libraryState() noexcept {
    return processState;
}

/// The library lock, held for one exported call, and the manager behind it.
class LockedManager {
public:
    LockedManager() : guard_(libraryState().lock), manager_(libraryState().manager) {}

    /// Whether the library is initialised.
    explicit operator bool() const noexcept {
        return manager_ != nullptr;
    }

    /// Whether the library is initialised; when not, reports the text as a call in the wrong state.
    bool orReport(const char* text) const {
        if (manager_ == nullptr) {
            reportDomainError(text);
            return false;
        }
        return true;
    }

    KLBMgr* operator->() const noexcept {
        return manager_;
    }

private:
    std::lock_guard<SpinningMutex> guard_;
    KLBMgr* manager_;
};

} // namespace klb

#endif
