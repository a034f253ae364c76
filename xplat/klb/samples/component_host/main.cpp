/// \file main.cpp
/// Meridian, as a host with a component framework and a plug-in: it starts the toggle
/// library, publishes its manager in the framework, and lets a plug-in find it there.

#include "framework.h"
#include "plugin_file.h"

#include <klb.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr const char* kToken = "core";

void require(bool isSo, const char* what) {
    if (!isSo) {
        throw std::runtime_error(std::string("this should not be: ") + what);
    }
}

void startToggles(Framework& framework) {
    KLB_Init("MERIDIAN-0042", false);
    KLB_RegisterToggle(kAvoidTolls, true, kToken);
    KLB_InitOBX(framework.base());
    require(KLB_IsOBXInitialized(), "the manager is not published");
}

void runSession(Framework& framework, const char* plugInPath) {
    const PlugInFile plugIn(plugInPath);

    std::cout << "The plug-in before the toggles are there\n";
    require(plugIn.run(*framework.base()) == kPlugInFoundNoToggles,
            "the plug-in found toggles before there were any");

    startToggles(framework);
    std::cout << "The plug-in with the manager published\n";
    require(plugIn.run(*framework.base()) == kPlugInWorked, "the plug-in failed");
    require(framework.errors() == 1, "the plug-in's mistake was not reported");
    require(KLB_IsDynamicToggleRegistered(kAlternatives), "the plug-in's toggle is not known");

    KLB_SetDynamicToggle(kAlternatives, true);
    std::cout << "The plug-in after the host changed its toggle\n";
    require(plugIn.run(*framework.base()) == kPlugInWorked, "the plug-in failed");

    KLB_Term();
    require(!KLB_IsInitialized(), "the library is still initialised");
    std::cout << "The plug-in after the manager was withdrawn\n";
    require(plugIn.run(*framework.base()) == kPlugInFoundNoToggles,
            "the plug-in found toggles after the end");
}

void run(const char* plugInPath) {
    Framework* const framework = Framework::create();
    try {
        runSession(*framework, plugInPath);
    } catch (...) {
        framework->Release();
        throw;
    }
    require(framework->Release() == 0, "somebody still holds the framework");
    require(Framework::livingObjects() == 0, "somebody still holds a definition");
    std::cout << "All references were given back\n";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: klb_sample_component_host PLUGIN\n"
                     "Runs the plug-in in that shared library before, while and after the toggle\n"
                     "library's manager is published. The build makes one: klb_sample_plugin.\n";
        return 2;
    }
    try {
        run(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << "klb_sample_component_host: " << error.what() << '\n';
        return EXIT_FAILURE;
    } catch (long code) {
        std::cerr << "klb_sample_component_host: the framework refused a call: " << std::hex
                  << static_cast<unsigned long>(code) << '\n';
        return EXIT_FAILURE;
    }
    return std::cout.flush() ? EXIT_SUCCESS : EXIT_FAILURE;
}
