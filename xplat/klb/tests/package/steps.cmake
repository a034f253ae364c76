# What the scripts of this directory share.
cmake_minimum_required(VERSION 3.25)

# run(COMMAND...): fails with the output of a command that fails; else gives it as `output`.
function(run)
  execute_process(COMMAND ${ARGV}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}: ${result}\n${output}")
  endif()
  string(REPLACE "\r\n" "\n" output "${output}")
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect what actual expected)
  if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "${what}:\n${actual}\nexpected:\n${expected}")
  endif()
endfunction()

# Runs the program of consumer/main.cpp.
function(run_consumer program)
  run(${RUN_WITH} "${program}")
  expect("output of ${program}" "${output}" "fastPath: on
message: getToggle: key, /editor/none, was not registered. Returning false.
caught: KLB_RegisterToggleFile: KLB_Init must be called first.
")
endfunction()

# Gives an empty directory with a copy of consumer/ in it.
function(start_in work)
  file(REMOVE_RECURSE "${work}")
  file(COPY "${CMAKE_CURRENT_LIST_DIR}/consumer" DESTINATION "${work}")
endfunction()

# Nothing of the caller's surroundings decides what a consumer is built with.
foreach(variable IN ITEMS CFLAGS CXXFLAGS LDFLAGS CPPFLAGS CPLUS_INCLUDE_PATH CPATH LIBRARY_PATH
    LD_LIBRARY_PATH CMAKE_PREFIX_PATH klb_DIR klb_ROOT PKG_CONFIG_PATH PKG_CONFIG_LIBDIR DESTDIR)
  unset(ENV{${variable}})
endforeach()
