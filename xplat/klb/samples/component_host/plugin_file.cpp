#include "plugin_file.h"

#include <stdexcept>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

#if defined(_WIN32)

void* load(const char* path) {
    return LoadLibraryA(path);
}

void unload(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

MeridianPlugIn find(void* library) {
    const FARPROC entry = GetProcAddress(static_cast<HMODULE>(library), kMeridianPlugInName);
    return reinterpret_cast<MeridianPlugIn>(reinterpret_cast<void*>(entry));
}

#else

void* load(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

void unload(void* library) {
    dlclose(library);
}

MeridianPlugIn find(void* library) {
    return reinterpret_cast<MeridianPlugIn>(dlsym(library, kMeridianPlugInName));
}

#endif

} // namespace

PlugInFile::PlugInFile(const char* path) : library_(load(path)) {
    if (!library_) {
        throw std::runtime_error(std::string("cannot load the plug-in ") + path);
    }
    entry_ = find(library_);
    if (!entry_) {
        unload(library_);
        throw std::runtime_error(std::string("not a plug-in of this host: ") + path);
    }
}

PlugInFile::~PlugInFile() {
    unload(library_);
}
