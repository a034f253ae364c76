/// \file obx.h
/// The interfaces of the host's component framework that klb calls. A host's own headers can take
/// the place of this one when the library is built.
///
/// Objects are reference counted, and interfaces are found by 16-byte identifiers. The order of the
/// operations is the binary interface: it never changes, and no interface has a virtual destructor.
/// AddRef() and Release() throw nothing. A result whose top bit is set is a failure. A successful
/// call that gives an interface through a void** gives a reference with it, for the caller to
/// release.

#ifndef KLB_OBX_H
#define KLB_OBX_H

#include <stdint.h>

/// The identifier of an interface, a class, a registration or a category.
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
    /// Gives another interface of the same object.
    virtual OBXResult QueryInterface(const OBXGuid& iid, void** out) = 0;
    /// Adds a reference; returns the count.
    virtual uint32_t AddRef() = 0;
    /// Releases a reference; returns the count.
    virtual uint32_t Release() = 0;
};

/// An object of which the host has one, with the states of its life.
struct IOBXSingleton : IOBXUnknown {
    virtual uint32_t GetSingletonState() = 0;
    virtual OBXResult InitializeSingleton() = 0;
    virtual OBXResult FinalizeSingleton() = 0;
};

/// Takes the messages of components.
struct IOBXMessageSink : IOBXUnknown {
    /// Takes one message; the text is valid during the call.
    virtual OBXResult Report(uint32_t type, const char* text) = 0;
};

/// Knows the classes of components.
struct IOBXComponentRegistry : IOBXUnknown {
    /// Gives an interface of a class's definition; 0x8000000D when the class is not registered.
    virtual OBXResult FindDefinition(const OBXGuid& classId, const OBXGuid& iid, void** out) = 0;
    /// Makes an object of a class and gives an interface of it.
    virtual OBXResult CreateInstance(const OBXGuid& classId, IOBXUnknown* outer, const OBXGuid& iid,
                                     void** out) = 0;
};

/// The definition of one class.
struct IOBXComponentDefinition : IOBXUnknown {
    /// Fills the definition; the name is copied.
    virtual OBXResult Define(const OBXGuid& classId, const OBXGuid& categoryId, uint32_t first,
                             uint32_t second, const OBXGuid& registrationId,
                             const wchar_t* name) = 0;
};

/// Takes definitions into a component registry.
struct IOBXDefinitionRegistration : IOBXUnknown {
    virtual OBXResult Register(IOBXComponentDefinition* definition) = 0;
};

/// Knows the singletons of the host.
struct IOBXSingletonRegistry : IOBXUnknown {
    virtual OBXResult RegisterSingleton(const OBXGuid& classId, const OBXGuid& registrationId,
                                        IOBXUnknown* object) = 0;
    virtual OBXResult UnregisterSingleton(const OBXGuid& classId) = 0;
};

#endif
