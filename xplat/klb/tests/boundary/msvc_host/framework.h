#ifndef KLB_TESTS_BOUNDARY_MSVC_HOST_FRAMEWORK_H
#define KLB_TESTS_BOUNDARY_MSVC_HOST_FRAMEWORK_H

#include "text.h"

#include <IKLBManager.h>

namespace host {

constexpr OBXResult result(uint32_t code) {
    return static_cast<OBXResult>(code);
}

constexpr OBXResult kNotRegistered = result(0x8000000D);
constexpr OBXResult kNoInterface = result(0x80004002);

/// What the library has called since this was last asked, one line a call: the operation and its
/// arguments, identifiers by name. References are counted, not listed.
Text takeCalls();

/// The message sink's texts since this was last asked, as lines "<type> <text>".
Text takeSinkReports();

/// References that the library holds, on all objects together.
int referencesHeld();

/// The framework that the library is given.
IOBXUnknown& framework();

/// Lets the framework answer that it knows the manager's class.
void setManagerDefined(bool defined);

/// The object that the library registered as a singleton; null when it is withdrawn.
IOBXUnknown* registeredSingleton();

} // namespace host

#endif
