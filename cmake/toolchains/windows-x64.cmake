# Cross-compiles for 64-bit Windows with MinGW-w64 (posix threads) and runs programs under Wine.
# scripts/setup puts what Windows builds need beside the compiler's own libraries into the cache
# directory: libcrypto as a DLL with its headers, and a view of the libraries that are headers only.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(DEFINED ENV{KLB_CACHE_DIR})
  set(_klb_cache "$ENV{KLB_CACHE_DIR}")
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(_klb_cache "$ENV{XDG_CACHE_HOME}/klb")
else()
  set(_klb_cache "$ENV{HOME}/.cache/klb")
endif()
set(KLB_WINDOWS_PREFIX "${_klb_cache}/windows-x64" CACHE PATH "Where scripts/setup put libcrypto")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KLB_WINDOWS_PREFIX)
if(NOT EXISTS "${KLB_WINDOWS_PREFIX}/libcrypto-source-version")
  message(FATAL_ERROR "There is no libcrypto for Windows in ${KLB_WINDOWS_PREFIX}: run scripts/setup. "
    "When KLB_CACHE_DIR has changed, remove the build directory as well.")
endif()

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 "${KLB_WINDOWS_PREFIX}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(OPENSSL_ROOT_DIR "${KLB_WINDOWS_PREFIX}" CACHE PATH "")

# The C++ runtime goes into each module, so that klb.dll needs no other DLL than libcrypto.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/run-under-wine")
