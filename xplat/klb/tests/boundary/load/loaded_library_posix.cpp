#include "loaded_library.h"

#include <stdexcept>

#include <dlfcn.h>

namespace klb::test {

LoadedLibrary::LoadedLibrary(const std::string& path)
    : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
        throw std::runtime_error(dlerror());
    }
}

LoadedLibrary::~LoadedLibrary() {
    dlclose(handle_);
}

void* LoadedLibrary::find(const char* name) const {
    return dlsym(handle_, name);
}

bool LoadedLibrary::isLoaded(const std::string& path) {
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

} // namespace klb::test
