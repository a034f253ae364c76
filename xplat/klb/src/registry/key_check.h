#ifndef KLB_REGISTRY_KEY_CHECK_H
#define KLB_REGISTRY_KEY_CHECK_H

#include "core/message_reporter.h"

namespace klb {

/// Reports a null key, an empty one and one that does not begin with "/", each with the caller's
/// text; true for any other. Registration itself takes keys of the last two kinds.
inline bool isQueryableKey(const char* key, const char* nullText, const char* emptyText,
                           const char* slashText) {
    if (key == nullptr) {
        reportInvalidArgument(nullText);
        return false;
    }
    if (*key == '\0') {
        reportInvalidArgument(emptyText);
        return false;
    }
    if (*key != '/') {
        reportInvalidArgument(slashText);
        return false;
    }
    return true;
}

} // namespace klb

#endif
