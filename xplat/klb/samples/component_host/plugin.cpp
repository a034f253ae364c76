/// \file plugin.cpp
/// A plug-in of Meridian: the route planner. It is not linked to the toggle library: it finds the
/// manager in its host, by name.

#include "meridian.h"
#include "reference.h"

#include <IKLBManager.h>

#include <string>

#if defined(_WIN32)
#define MERIDIAN_PLUGIN extern "C" __declspec(dllexport)
#else
#define MERIDIAN_PLUGIN extern "C" __attribute__((visibility("default")))
#endif

namespace {

constexpr const char* kToken = "routes";

void say(const Reference<IOBXMessageSink>& sink, const std::string& text) {
    sink->Report(kMessageIsInformation, ("route planner: " + text).c_str());
}

/// A toggle's value is not 0 or 1 before the manager sets it.
constexpr uint32_t kUnset = 2;

bool planRoutes(const Reference<IOBXMessageSink>& sink, const Reference<IKLBManager>& manager) {
    // The host's toggle.
    uint32_t avoidTolls = kUnset;
    if (manager->GetToggle(kAvoidTolls, &avoidTolls) < 0 || avoidTolls == kUnset) {
        return false;
    }
    say(sink, std::string(kAvoidTolls) + " is " + (avoidTolls ? "on" : "off"));

    // A toggle of its own, which the host may change.
    if (manager->RegisterDynamicToggle(kAlternatives, 0, kToken) < 0) {
        return false;
    }
    uint32_t alternatives = kUnset;
    if (manager->GetDynamicToggle(kAlternatives, &alternatives) < 0 || alternatives == kUnset) {
        return false;
    }
    say(sink, std::string(kAlternatives) + " is " + (alternatives ? "on" : "off"));

    // A mistake: the toggle is dynamic. The manager reports it to the host's sink and answers with
    // a failure; nothing is thrown.
    say(sink, "asks for a dynamic toggle as if it were static, and is told so");
    uint32_t value = kUnset;
    return manager->GetToggle(kAlternatives, &value) < 0 && value == 0;
}

} // namespace

MERIDIAN_PLUGIN int meridianPlugIn(IOBXUnknown* host) {
    Reference<IOBXMessageSink> sink;
    Reference<IMeridianDirectory> directory;
    if (!sink.query(*host, KLB_IID_IOBXMessageSink) ||
        !directory.query(*host, kMeridianDirectoryId)) {
        return kPlugInFailed;
    }
    Reference<IKLBManager> manager;
    if (!manager.take([&](void** out) {
            return directory->FindSingleton(L"KLBManager", KLB_IID_IKLBManager, out);
        })) {
        say(sink, "this host has no toggles now");
        return kPlugInFoundNoToggles;
    }
    return planRoutes(sink, manager) ? kPlugInWorked : kPlugInFailed;
}
