/// \file IKLBManager.h
/// The component face of klb: what a host's component framework, and the plug-ins that find the
/// manager there, call.
///
/// KLB_InitOBX() publishes the manager as a singleton under KLB_ManagerClassId, with the name
/// KLBManager; KLB_Term() withdraws it. The order of the operations is the binary interface: it
/// never changes. There are no virtual destructors: the library owns the manager, which lives until
/// KLB_Term(), whatever references are held.
///
/// \par Results
/// 0 is success. A null pointer where the operation needs one is 0x80000003, before anything else
/// is done. Any exception inside an operation ends there: its text goes to the host's message sink,
/// as two messages of the type 1, the text and a line feed, and the result is 0x8000FFFF. With a
/// message callback installed (KLB_InitMessageProc()) errors of the registry go to that instead,
/// and the result is 0. Operations that answer with a truth value or a count answer 0 in place of
/// 0x8000FFFF.
///
/// \par Threads
/// As for the exported functions: any thread at any time, one at a time under the library's lock,
/// which is held while the message sink is called. QueryInterface(), AddRef(), Release() and the
/// operations of IOBXSingleton take no lock. A call that waited while KLB_Term() ran answers as
/// after an exception, without a message; a call that begins later must not be made.

#ifndef KLB_IKLBMANAGER_H
#define KLB_IKLBMANAGER_H

#include <obx.h>

#include <stdint.h>

/// The operations that every version of the manager has.
struct IKLBManager1 : IOBXUnknown {
    /// As KLB_RegisterToggleFile(). The token and the file must not be null.
    virtual OBXResult RegisterToggleFile(uint32_t toggleFileType, const char* toggleFileToken,
                                         const char* toggleFile) = 0;
    /// As KLB_RegisterToggle(); a default other than 0 is true. The key and the token must not be
    /// null.
    virtual OBXResult RegisterToggle(const char* toggleKey, int32_t defaultValue,
                                     const char* toggleFileToken) = 0;
    /// As KLB_GetToggle(): sets the value to 1 or 0, and to 0 when the registry fails. The key and
    /// the pointer to the value must not be null.
    virtual OBXResult GetToggle(const char* toggleKey, uint32_t* value) = 0;
    /// 1 for a registered static toggle, else 0. For a null key 0x80000003, which is not 0 either.
    virtual OBXResult IsToggleRegistered(const char* toggleKey) = 0;
    /// 1 for a known token, else 0, also for a null token.
    virtual OBXResult IsToggleFileRegistered(const char* toggleFileToken) = 0;
    /// As KLB_GetOverrideInfoString(), with a 32-bit size and result.
    virtual uint32_t GetOverrideInfoString(char* buffer, uint32_t bufferSize) = 0;
};

/// The manager.
struct IKLBManager : IKLBManager1 {
    /// As RegisterToggle(), for a dynamic toggle.
    virtual OBXResult RegisterDynamicToggle(const char* toggleKey, int32_t defaultValue,
                                            const char* toggleFileToken) = 0;
    /// As GetToggle(), for a dynamic toggle.
    virtual OBXResult GetDynamicToggle(const char* toggleKey, uint32_t* value) = 0;
    /// As KLB_SetDynamicToggle(); a value other than 0 is true. The key must not be null.
    virtual OBXResult SetDynamicToggle(const char* toggleKey, int32_t value) = 0;
    /// As IsToggleRegistered(), for a dynamic toggle.
    virtual OBXResult IsDynamicToggleRegistered(const char* toggleKey) = 0;
};

// Of the manager. Its QueryInterface() knows these two interfaces and those named
// KLB_IID_IOBXUnknown and KLB_IID_IOBXSingleton; it answers any other identifier with success and
// leaves the output as it was, so set that to null first.
constexpr OBXGuid KLB_IID_IKLBManager = {
    0x5E57F703, 0x0FA1, 0x3B38, {0xBB, 0x53, 0x51, 0xD7, 0x7F, 0x6B, 0x53, 0xAC}};
constexpr OBXGuid KLB_IID_IKLBManager1 = {
    0xF30C2080, 0x7F91, 0x3696, {0x89, 0x24, 0x11, 0xAD, 0x04, 0x04, 0xD5, 0xC7}};

/// The class under which the manager is found.
constexpr OBXGuid KLB_ManagerClassId = {
    0x9FAC2F14, 0xCA6D, 0x3DD0, {0x81, 0x85, 0xA7, 0x10, 0xE2, 0xFA, 0x34, 0x8E}};
constexpr OBXGuid KLB_ManagerRegistrationId = {
    0x309BB041, 0xB486, 0x32D5, {0xBF, 0x1A, 0xC9, 0x73, 0x5C, 0x00, 0xED, 0x71}};
constexpr OBXGuid KLB_ManagerCategoryId = {
    0xEC66EC80, 0x6986, 0x11D5, {0x9B, 0xA2, 0x8D, 0xB4, 0xB4, 0x2D, 0xFD, 0x37}};

// Of the host's framework: the interfaces that the library asks for, and the class of definitions.
constexpr OBXGuid KLB_IID_IOBXUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr OBXGuid KLB_IID_IOBXSingleton = {
    0x645D4784, 0x5606, 0x3461, {0xA0, 0xBF, 0x56, 0xFC, 0xDF, 0x67, 0xBA, 0x86}};
constexpr OBXGuid KLB_IID_IOBXMessageSink = {
    0x908C3A6B, 0xF119, 0x11D6, {0xAD, 0x24, 0x00, 0x03, 0x93, 0x83, 0x00, 0x8C}};
constexpr OBXGuid KLB_IID_IOBXComponentRegistry = {
    0x382B6A96, 0x7FD0, 0x11D6, {0xBC, 0xFE, 0x00, 0x30, 0x65, 0x42, 0xA0, 0x24}};
constexpr OBXGuid KLB_IID_IOBXComponentDefinition = {
    0x1718A226, 0x7FD0, 0x11D6, {0xBD, 0x1D, 0x00, 0x30, 0x65, 0x42, 0xA0, 0x24}};
constexpr OBXGuid KLB_IID_IOBXDefinitionRegistration = {
    0xCF855126, 0x8A38, 0x46E2, {0x84, 0x44, 0x14, 0x12, 0x52, 0xDB, 0xF8, 0xFB}};
constexpr OBXGuid KLB_IID_IOBXSingletonRegistry = {
    0xC965741F, 0x39A9, 0x3707, {0xBA, 0x90, 0x9C, 0x3E, 0x1F, 0x16, 0x3F, 0x6A}};
constexpr OBXGuid KLB_ComponentDefinitionClassId = {
    0x6C422BFA, 0x70E5, 0x11D6, {0x8C, 0xDD, 0x00, 0x30, 0x65, 0x8A, 0x65, 0x04}};

static_assert(sizeof(OBXGuid) == 16, "an identifier has 16 bytes");
static_assert(sizeof(OBXResult) == 4, "a result has 32 bits");
static_assert(sizeof(IKLBManager) == sizeof(void*), "an interface is its table of operations");

#endif
