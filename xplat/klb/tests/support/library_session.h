#ifndef KLB_TESTS_SUPPORT_LIBRARY_SESSION_H
#define KLB_TESTS_SUPPORT_LIBRARY_SESSION_H

#include "klb.h"

namespace klb::test {

/// The library from KLB_Init() to KLB_Term(). Overrides are off unless a test asks for them.
class LibrarySession {
public:
    explicit LibrarySession(const char* systemId = "TestSystem", bool enableOverride = false) {
        KLB_Init(systemId, enableOverride);
    }
    ~LibrarySession() {
        KLB_Term();
    }
    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;
};

} // namespace klb::test

#endif
