/// \file obx.h
/// The interfaces of the host's component framework that klb calls.
///
/// All of them are reference counted and found by 16-byte identifiers. The order of the operations
/// is the binary interface: it never changes, and no interface has a virtual destructor.

#ifndef KLB_OBX_H
#define KLB_OBX_H

#include <stdint.h>

/// An interface or class identifier.
struct OBXGuid {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
};

/// A result code; negative values, whose top bit is set, are failures.
typedef int32_t OBXResult;

/// The base of all interfaces: interface query and reference counting.
struct IOBXUnknown {
    /// Gives another interface of the same object, with a reference for the caller to release.
    virtual OBXResult QueryInterface(const OBXGuid& iid, void** out) = 0;
    /// Adds a reference.
    virtual uint32_t AddRef() = 0;
    /// Gives a reference back.
    virtual uint32_t Release() = 0;
};

/// Takes the host's messages.
struct IOBXMessageSink : IOBXUnknown {
    /// Reports one message; the text is valid during the call.
    virtual OBXResult Report(uint32_t type, const char* text) = 0;
};

static_assert(sizeof(OBXGuid) == 16, "an identifier has 16 bytes");

#endif
