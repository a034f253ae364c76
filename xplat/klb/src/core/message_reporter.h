#ifndef KLB_CORE_MESSAGE_REPORTER_H
#define KLB_CORE_MESSAGE_REPORTER_H

#include "klb.h"

namespace klb {

// The host's message callback, and the one place that turns a text into a call to it or an
// exception. The callback is process-wide and outlives the manager. It is stored under the library
// lock; it is atomic because the null check of KLB_Init reads it without that lock.

void setMessageCallback(KLB_MessageProc callback) noexcept;
bool hasMessageCallback() noexcept;

/// Passes an error to the callback; false when there is none.
bool reportMessage(const char* text);

/// Passes a warning to the callback; without one it is dropped.
void reportWarning(const char* text);

/// Passes an error to the callback; throws std::invalid_argument when there is none.
void reportInvalidArgument(const char* text);

/// Passes an error to the callback; throws std::domain_error when there is none.
void reportDomainError(const char* text);

} // namespace klb

#endif
