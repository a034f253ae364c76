include_guard()

find_package(Threads REQUIRED)

# The project's own compile options for one target: language level, warnings, visibility and
# sanitizers. Nothing here reaches a project that embeds this one.
function(klb_configure_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)

  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 /permissive-)
    # A condition may be a constant of the platform, or of a dependency's version.
    target_compile_options(${target} PRIVATE /wd4127)
    # The functions that Microsoft's headers call unsafe are those of the C++ standard.
    target_compile_definitions(${target} PRIVATE _CRT_SECURE_NO_WARNINGS)
    if(KLB_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE /WX)
    endif()
  else()
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
      -Wcast-align -Wcast-qual -Wformat=2 -Wundef -Woverloaded-virtual -Wimplicit-fallthrough)
    if(KLB_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
    # The crypto library's macros name source files; customers need not know where they lay.
    target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # A shared object with unique symbols can never be unloaded.
      target_compile_options(${target} PRIVATE -fno-gnu-unique)
      if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # GCC 12 sees overlapping copies in optimised string concatenations where there are none.
        target_compile_options(${target} PRIVATE -Wno-restrict)
      endif()
    endif()
  endif()

  if(KLB_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${KLB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${KLB_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      target_compile_options(${target} PRIVATE
        -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer-ignorelist.txt)
    endif()
  endif()
  if(KLB_FUZZ)
    # What the fuzzer learns of an input is the code that it reaches.
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    target_link_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# Reads exported_names.txt: the decorated names of the exported functions, in two lists of one order.
function(klb_read_exported_names itanium_names microsoft_names)
  set(list_file "${PROJECT_SOURCE_DIR}/cmake/exported_names.txt")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${list_file}")
  file(STRINGS "${list_file}" lines REGEX "^[^#]")
  set(itanium ${lines})
  list(TRANSFORM itanium REPLACE " .*" "")
  set(microsoft ${lines})
  list(TRANSFORM microsoft REPLACE "^[^ ]* " "")
  set(${itanium_names} ${itanium} PARENT_SCOPE)
  set(${microsoft_names} ${microsoft} PARENT_SCOPE)
endfunction()

# Makes the shared library export the names of exported_names.txt and nothing else.
function(klb_limit_exports target)
  klb_read_exported_names(itanium microsoft)
  if(MSVC)
    # The declarations in klb.h say dllexport; that compiler exports nothing by itself.
    return()
  elseif(WIN32)
    # A second name for the same address lets hosts link that Microsoft-compatible compilers make.
    set(lines "EXPORTS\n")
    foreach(name alias IN ZIP_LISTS itanium microsoft)
      string(APPEND lines "${name}\n\"${alias}\" = ${name}\n")
    endforeach()
    set(script "${CMAKE_CURRENT_BINARY_DIR}/klb.def")
    file(CONFIGURE OUTPUT "${script}" CONTENT "@lines@" @ONLY)
    target_sources(${target} PRIVATE "${script}")
  else()
    list(JOIN itanium ";\n" lines)
    set(script "${CMAKE_CURRENT_BINARY_DIR}/klb.map")
    file(CONFIGURE OUTPUT "${script}" CONTENT "{\nglobal:\n@lines@;\nlocal: *;\n};\n" @ONLY)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
    if(PROJECT_IS_TOP_LEVEL AND NOT KLB_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
  endif()
  set_target_properties(${target} PROPERTIES LINK_DEPENDS "${script}")
endfunction()

# Adds klb.lib to a MinGW build, beside libklb.dll.a: the import library for linkers that are
# compatible with Microsoft's. An embedded build goes without when the tool for it is missing.
function(klb_add_microsoft_import_library target)
  if(NOT MINGW)
    return()
  endif()
  find_program(KLB_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-19 llvm-dlltool-16 llvm-dlltool-14)
  mark_as_advanced(KLB_LLVM_DLLTOOL)
  if(NOT KLB_LLVM_DLLTOOL)
    if(PROJECT_IS_TOP_LEVEL)
      message(FATAL_ERROR "llvm-dlltool, which makes klb.lib for Microsoft-compatible linkers, was "
        "not found: run scripts/setup, or set KLB_LLVM_DLLTOOL to its path.")
    endif()
    message(STATUS "klb: no klb.lib for Microsoft-compatible linkers, llvm-dlltool was not found")
    return()
  endif()

  klb_read_exported_names(itanium microsoft)
  list(TRANSFORM microsoft REPLACE "(.+)" "\"\\1\"")
  list(JOIN microsoft "\n" lines)
  set(definition "${CMAKE_CURRENT_BINARY_DIR}/klb_microsoft.def")
  file(CONFIGURE OUTPUT "${definition}" CONTENT "EXPORTS\n@lines@\n" @ONLY)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${definition}")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND "${KLB_LLVM_DLLTOOL}" -m i386:x86-64 -d "${definition}"
      -D "$<TARGET_FILE_NAME:${target}>" -l "$<TARGET_LINKER_FILE_DIR:${target}>/klb.lib"
    VERBATIM)
endfunction()

# Gives a DLL the project's version as a resource. The resource is compiled in a target of its own:
# the compile options of the C++ sources are none of the resource compiler's.
function(klb_add_version_resource target)
  set(resource "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/klb.rc.in" "${resource}" @ONLY)
  add_library(${target}_version_resource OBJECT "${resource}")
  target_link_libraries(${target} PRIVATE ${target}_version_resource)
endfunction()

# Puts libcrypto, as scripts/setup built it, beside a library or program of this project's own
# Windows build. Whoever embeds the project decides for himself where DLLs come from.
function(klb_copy_runtime_dlls target)
  if(PROJECT_IS_TOP_LEVEL AND KLB_WINDOWS_PREFIX)
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E copy_if_different
        "${KLB_WINDOWS_PREFIX}/bin/libcrypto-3-x64.dll" "$<TARGET_FILE_DIR:${target}>"
      VERBATIM)
  endif()
endfunction()
