#include "plugin_file.h"

#include <stdexcept>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)

void* load(const fs::path& path) {
    return LoadLibraryW(path.c_str());
}

void unload(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

MeridianPlugIn find(void* library) {
    const FARPROC entry = GetProcAddress(static_cast<HMODULE>(library), kMeridianPlugInName);
    return reinterpret_cast<MeridianPlugIn>(reinterpret_cast<void*>(entry));
}

#else

void* load(const fs::path& path) {
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void unload(void* library) {
    dlclose(library);
}

MeridianPlugIn find(void* library) {
    return reinterpret_cast<MeridianPlugIn>(dlsym(library, kMeridianPlugInName));
}

#endif

} // namespace

// LoadLibrary and dlopen look elsewhere for a bare name, and LoadLibrary wants backslashes.
PlugInFile::PlugInFile(const std::filesystem::path& path)
    : library_(load(fs::absolute(path).make_preferred())) {
    if (!library_) {
        throw std::runtime_error("cannot load the plug-in " + path.string());
    }
    entry_ = find(library_);
    if (!entry_) {
        unload(library_);
        throw std::runtime_error("not a plug-in of this host: " + path.string());
    }
}

PlugInFile::~PlugInFile() {
    unload(library_);
}
