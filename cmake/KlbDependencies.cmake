# What the library is built on: libcrypto, the C++ library, and headers of RapidJSON (documents),
# Boost.Unordered and xxHash (finding names in them).
find_package(OpenSSL REQUIRED COMPONENTS Crypto)

add_library(klb_headers INTERFACE)
function(klb_find_headers variable header)
  find_path(${variable} "${header}" REQUIRED)
  mark_as_advanced(${variable})
  target_include_directories(klb_headers SYSTEM INTERFACE "${${variable}}")
endfunction()
klb_find_headers(KLB_RAPIDJSON_INCLUDE_DIR rapidjson/document.h)
klb_find_headers(KLB_BOOST_INCLUDE_DIR boost/unordered/unordered_flat_set.hpp)
klb_find_headers(KLB_XXHASH_INCLUDE_DIR xxhash.h)

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
