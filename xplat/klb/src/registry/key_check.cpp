#include "registry/key_check.h"

#include "core/message_reporter.h"

namespace klb {

bool isQueryableKey(const char* key, const char* nullText, const char* emptyText,
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
