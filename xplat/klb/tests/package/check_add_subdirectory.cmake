# Builds and runs a project that has this one as a part of its own.
include("${CMAKE_CURRENT_LIST_DIR}/steps.cmake")

start_in("${WORK}")
set(build "${WORK}/build")
set(configure ${CMAKE_COMMAND} -G "${GENERATOR}" -S "${WORK}/consumer/add_subdirectory"
  -B "${build}" "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_BUILD_TYPE=Debug"
  "-DKLB_SOURCE_DIR=${KLB_SOURCE_DIR}")

# Without a word from the consumer nothing is installed, and the library's own obx.h is used.
run(${configure})
run(${CMAKE_COMMAND} --install "${build}" --prefix "${WORK}/nothing")
if(EXISTS "${WORK}/nothing")
  message(FATAL_ERROR "installed without being asked:\n${output}")
endif()

# The host framework's header leaves its mark in whatever is compiled with it.
set(framework "${WORK}/framework")
file(READ "${KLB_SOURCE_DIR}/xplat/klb/include/obx.h" header)
file(WRITE "${framework}/obx.h" "#pragma once
${header}
#define HOST_FRAMEWORK_OBX
__attribute__((used)) static const char hostFrameworkMark[] = \"compiled with the host's obx.h\";

inline bool operator==(const OBXGuid& left, const OBXGuid& right) {
  return left.data1 == right.data1 && left.data2 == right.data2 && left.data3 == right.data3;
}
")
run(${configure} -DKLB_INSTALL=ON "-DKLB_OBX_INCLUDE_DIR=${framework}"
  "-DHOST_FRAMEWORK_DIR=${framework}")
run(${CMAKE_COMMAND} --build "${build}" --parallel 2)
set(library "${build}/modules/libklb.so.${VERSION}")
file(STRINGS "${library}" mark REGEX "compiled with the host's obx.h")
if(NOT mark)
  message(FATAL_ERROR "${library} is not compiled with the host's obx.h")
endif()

get_filename_component(cmake_directory "${CMAKE_COMMAND}" DIRECTORY)
execute_process(COMMAND "${cmake_directory}/ctest" -N WORKING_DIRECTORY "${build}"
  OUTPUT_VARIABLE tests COMMAND_ERROR_IS_FATAL ANY)
if(NOT tests MATCHES "Test #1: Consumer\n\nTotal Tests: 1\n")
  message(FATAL_ERROR "tests:\n${tests}")
endif()
run_consumer("${build}/programs/consumer")

# What a host with headers of its own installs has none of ours.
set(host_prefix "${WORK}/prefix")
run(${CMAKE_COMMAND} --install "${build}" --prefix "${host_prefix}")
file(GLOB headers RELATIVE "${host_prefix}/include/klb" "${host_prefix}/include/klb/*")
expect("installed headers" "${headers}" "IKLBManager.h;klb.h")
file(GLOB packages "${host_prefix}/lib/cmake/klb/*" "${host_prefix}/lib/pkgconfig/*")
foreach(package IN LISTS packages)
  file(READ "${package}" text)
  string(FIND "${text}" "${WORK}" position)
  if(NOT position EQUAL -1)
    message(FATAL_ERROR "${package} names a directory of the build")
  endif()
endforeach()

set(found "${WORK}/found")
run(${CMAKE_COMMAND} -G "${GENERATOR}" -S "${WORK}/consumer/find_package" -B "${found}"
  "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_PREFIX_PATH=${host_prefix}"
  "-DCMAKE_BUILD_TYPE=Debug" "-DEXPECTED_VERSION=${VERSION}" "-DHOST_FRAMEWORK_DIR=${framework}")
run(${CMAKE_COMMAND} --build "${found}")
run_consumer("${found}/consumer")
