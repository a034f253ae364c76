#include "klb/library_state.h"

#include "core/message_reporter.h"

namespace klb {

namespace {

LibraryState state;

} // namespace

LibraryState& libraryState() noexcept {
    return state;
}

bool LockedManager::orReport(const char* text) const {
    if (manager_ == nullptr) {
        reportDomainError(text);
        return false;
    }
    return true;
}

} // namespace klb
