# Installs the built library, stripped, and looks at everything that is there afterwards.
include("${CMAKE_CURRENT_LIST_DIR}/steps.cmake")

file(REMOVE_RECURSE "${PREFIX}")
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${PREFIX}" --strip)

file(GLOB_RECURSE installed RELATIVE "${PREFIX}" "${PREFIX}/*")
list(FILTER installed EXCLUDE REGEX "^share/doc/klb/docs/")
list(FILTER installed EXCLUDE REGEX "^lib/cmake/klb/klbTargets-[a-z]+\\.cmake$")
set(expected
  include/klb/IKLBManager.h
  include/klb/klb.h
  lib/cmake/klb/klbConfig.cmake
  lib/cmake/klb/klbConfigVersion.cmake
  lib/cmake/klb/klbTargets.cmake
  lib/pkgconfig/klb.pc
  share/doc/klb/CHANGELOG.md
  share/doc/klb/README.md
  share/doc/klb/SECURITY.md)
if(NOT OBX_INCLUDE_DIR)
  list(APPEND expected include/klb/obx.h)
endif()
if(WINDOWS)
  list(APPEND expected bin/klb.dll bin/libcrypto-3-x64.dll lib/libklb.dll.a
    share/doc/klb/OpenSSL-LICENSE.txt)
  if(MICROSOFT_LIBRARY)
    list(APPEND expected lib/klb.lib)
  endif()
  set(library "${PREFIX}/bin/klb.dll")
else()
  string(REGEX MATCH "^[0-9]+" major "${VERSION}")
  list(APPEND expected lib/libklb.so lib/libklb.so.${major} lib/libklb.so.${VERSION})
  set(library "${PREFIX}/lib/libklb.so.${VERSION}")
endif()
list(SORT installed)
list(SORT expected)
expect("installed files" "${installed}" "${expected}")

file(GLOB pages RELATIVE "${KLB_SOURCE_DIR}/docs" "${KLB_SOURCE_DIR}/docs/*.md")
file(GLOB installed_pages RELATIVE "${PREFIX}/share/doc/klb/docs" "${PREFIX}/share/doc/klb/docs/*")
expect("installed pages" "${installed_pages}" "${pages}")

# The packages may be moved: none of them knows where it lies, or where it was built.
file(GLOB packages "${PREFIX}/lib/cmake/klb/*" "${PREFIX}/lib/pkgconfig/*")
foreach(package IN LISTS packages)
  file(READ "${package}" text)
  foreach(directory IN ITEMS "${KLB_SOURCE_DIR}" "${BUILD}" "${PREFIX}")
    string(FIND "${text}" "${directory}" position)
    if(NOT position EQUAL -1)
      message(FATAL_ERROR "${package} names ${directory}")
    endif()
  endforeach()
endforeach()

string(REGEX REPLACE "([][+.*()^$?|\\])" "\\\\\\1" source_directory "${KLB_SOURCE_DIR}")
file(STRINGS "${library}" places REGEX "${source_directory}" LIMIT_COUNT 1)
expect("source directory in ${library}" "${places}" "")

run("${OBJDUMP}" -h "${library}")
if(output MATCHES "\\.debug_info")
  message(FATAL_ERROR "${library} is not stripped")
endif()

if(NOT WINDOWS)
  file(READ_SYMLINK "${PREFIX}/lib/libklb.so" target)
  expect("libklb.so" "${target}" "libklb.so.${major}")
  file(READ_SYMLINK "${PREFIX}/lib/libklb.so.${major}" target)
  expect("libklb.so.${major}" "${target}" "libklb.so.${VERSION}")
  run("${OBJDUMP}" -p "${library}")
  if(NOT output MATCHES "SONAME +libklb\\.so\\.${major}\n")
    message(FATAL_ERROR "another name of the library:\n${output}")
  endif()
  if(output MATCHES "(RPATH|RUNPATH)")
    message(FATAL_ERROR "the library looks for others in a directory of its own:\n${output}")
  endif()
endif()
