# Compiles and runs a program with what pkg-config says of the installed package.
include("${CMAKE_CURRENT_LIST_DIR}/steps.cmake")

find_program(PKG_CONFIG pkg-config REQUIRED)
set(ENV{PKG_CONFIG_LIBDIR} "${PREFIX}/lib/pkgconfig")

run("${PKG_CONFIG}" --modversion klb)
expect("version" "${output}" "${VERSION}\n")

# A program says where the library of its own prefix is found at run time.
run("${PKG_CONFIG}" --variable=libdir klb)
separate_arguments(library_directory UNIX_COMMAND "${output}")
run("${PKG_CONFIG}" --cflags --libs klb)
separate_arguments(flags UNIX_COMMAND "${output}")

start_in("${WORK}")
run("${COMPILER}" -std=c++11 "${WORK}/consumer/main.cpp" ${flags} "-Wl,-rpath,${library_directory}"
  -o "${WORK}/program")
run_consumer("${WORK}/program")
