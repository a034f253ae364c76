set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
# The C++ library becomes a part of the program, so that no further DLLs are shipped with it.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
