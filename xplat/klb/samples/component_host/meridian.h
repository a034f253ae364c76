/// \file meridian.h
/// What plug-ins of Meridian know of their host, beside the framework's own interfaces.

#ifndef KLB_SAMPLES_COMPONENT_HOST_MERIDIAN_H
#define KLB_SAMPLES_COMPONENT_HOST_MERIDIAN_H

#include <obx.h>

/// The host's singletons by their names.
struct IMeridianDirectory : IOBXUnknown {
    /// Gives an interface of the singleton whose class was defined with this name.
    virtual OBXResult FindSingleton(const wchar_t* name, const OBXGuid& iid, void** out) = 0;
};

constexpr OBXGuid kMeridianDirectoryId = {
    0x3C0E9B52, 0x77D1, 0x4F6A, {0x9A, 0x15, 0x60, 0x2D, 0xE8, 0x4B, 0x71, 0xC3}};

/// Types of messages to the host's sink; everything else is shown as information.
constexpr uint32_t kMessageIsError = 1;
constexpr uint32_t kMessageIsInformation = 100;

/// A plug-in's only function: does the plug-in's work and tells how it went. The host's base
/// interface is lent for the call.
typedef int (*MeridianPlugIn)(IOBXUnknown* host);
constexpr const char* kMeridianPlugInName = "meridianPlugIn";

constexpr int kPlugInWorked = 0;
constexpr int kPlugInFoundNoToggles = 1;
constexpr int kPlugInFailed = 2;

/// The host's own toggle, which the plug-in asks for.
constexpr const char* kAvoidTolls = "/routes/avoidTolls";
/// The plug-in's own toggle.
constexpr const char* kAlternatives = "/routes/alternatives";

#endif
