#include <typeinfo>

#include <windows.h>

namespace __gnu_cxx {

// Declared by no header of GCC's C++ library; memory checkers call it by name.
extern void __freeres();

} // namespace __gnu_cxx

namespace {

/// Whether the C++ runtime is part of this DLL, and not a DLL that the host may use as well.
bool ownsRuntime(HINSTANCE library) {
    HMODULE runtime = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                  GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<LPCWSTR>(&typeid(int)), &runtime) != FALSE &&
           runtime == library;
}

} // namespace

/// Frees what the C++ runtime allocates when it is loaded and never frees itself: 73 KiB for
/// exceptions that are thrown when memory has run out. A host that loads the library over and over
/// would leak them each time.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr && ownsRuntime(library)) {
        __gnu_cxx::__freeres();
    }
    return TRUE;
}
