# Builds and runs a project that finds the installed package.
include("${CMAKE_CURRENT_LIST_DIR}/steps.cmake")

# Versions that must not be found, made from the one that is there.
string(REPLACE "." ";" numbers "${VERSION}")
list(GET numbers 0 major)
list(GET numbers 1 minor)
list(GET numbers 2 patch)
math(EXPR next_major "${major} + 1")
math(EXPR next_minor "${minor} + 1")
math(EXPR next_patch "${patch} + 1")
set(others "${next_major}.0;${major}.${next_minor};${major}.${minor}.${next_patch}")

start_in("${WORK}")
if(CROSS_COMPILED)
  set(compiler "-DCMAKE_TOOLCHAIN_FILE=${WORK}/consumer/mingw-w64.cmake")
else()
  set(compiler "-DCMAKE_CXX_COMPILER=${COMPILER}")
endif()
string(REPLACE ";" "\\;" others "${others}")
run(${CMAKE_COMMAND} -G "${GENERATOR}" -S "${WORK}/consumer/find_package" -B "${WORK}/build"
  "${compiler}" "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_BUILD_TYPE=Debug"
  "-DEXPECTED_VERSION=${VERSION}" "-DOTHER_VERSIONS=${others}")
run(${CMAKE_COMMAND} --build "${WORK}/build")
if(CROSS_COMPILED)
  run_consumer("${WORK}/build/consumer.exe")
else()
  run_consumer("${WORK}/build/consumer")
endif()
