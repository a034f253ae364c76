#ifndef KLB_REGISTRY_KEY_CHECK_H
#define KLB_REGISTRY_KEY_CHECK_H

namespace klb {

/// Reports a null key, an empty one and one that does not begin with "/", each with the caller's
/// text; true for any other. Registration itself takes keys of the last two kinds.
bool isQueryableKey(const char* key, const char* nullText, const char* emptyText,
                    const char* slashText);

} // namespace klb

#endif
