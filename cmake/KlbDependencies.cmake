# What the library is built on: libcrypto, RapidJSON (headers only) and the C++ library.
find_package(OpenSSL REQUIRED COMPONENTS Crypto)

find_path(KLB_RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)
mark_as_advanced(KLB_RAPIDJSON_INCLUDE_DIR)
add_library(klb_rapidjson INTERFACE)
target_include_directories(klb_rapidjson SYSTEM INTERFACE "${KLB_RAPIDJSON_INCLUDE_DIR}")

if(PROJECT_IS_TOP_LEVEL)
  # The build records what it was made from. On Windows builds the package version says which
  # source package libcrypto was compiled from.
  set(_klb_crypto_source "the system's package")
  if(KLB_WINDOWS_PREFIX AND EXISTS "${KLB_WINDOWS_PREFIX}/libcrypto-source-version")
    file(STRINGS "${KLB_WINDOWS_PREFIX}/libcrypto-source-version" _klb_crypto_source)
    set(_klb_crypto_source "source package ${_klb_crypto_source}")
  endif()
  file(WRITE "${CMAKE_BINARY_DIR}/dependencies.txt"
    "compiler: ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}\n"
    "libcrypto: ${OPENSSL_VERSION} (${_klb_crypto_source})\n")
  message(STATUS "libcrypto ${OPENSSL_VERSION} (${_klb_crypto_source})")
endif()
