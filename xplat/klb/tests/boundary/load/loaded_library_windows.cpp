#include "loaded_library.h"

#include "paths.h"

#include <stdexcept>
#include <string>

#include <windows.h>

namespace klb::test {

LoadedLibrary::LoadedLibrary(const std::string& path)
    : handle_(LoadLibraryExW(fromUtf8(path).make_preferred().c_str(), nullptr,
                             LOAD_WITH_ALTERED_SEARCH_PATH)) {
    if (handle_ == nullptr) {
        throw std::runtime_error("LoadLibraryEx: " + std::to_string(GetLastError()));
    }
}

LoadedLibrary::~LoadedLibrary() {
    FreeLibrary(static_cast<HMODULE>(handle_));
}

void* LoadedLibrary::find(const char* name) const {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

bool LoadedLibrary::isLoaded(const std::string& path) {
    return GetModuleHandleW(fromUtf8(path).filename().c_str()) != nullptr;
}

} // namespace klb::test
