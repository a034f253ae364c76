# Holds the list of exported names to what compilers make of the declarations in klb.h. One compiler
# stands for both decorations; for either it needs no headers but its own.
file(STRINGS "${EXPECTED}" rows REGEX "^[^#]")
file(STRINGS "${INCLUDE}/klb.h" declarations REGEX "^KLB_API ")
list(LENGTH declarations declared)

function(check target column)
  set(object "${OBJECT_DIRECTORY}/exported_functions.${target}.obj")
  execute_process(
    COMMAND "${CLANG}" --target=${target} -std=c++11 -ffreestanding -Wall -Wextra -Wpedantic -Werror
      -DKLB_BUILDING_LIBRARY "-I${INCLUDE}" -c "${SOURCE}" -o "${object}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${NM}" -u "${object}" OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^ \n]*KLB_[^\n]*" names "${output}")
  list(SORT names)
  set(expected ${rows})
  list(TRANSFORM expected REPLACE "^([^ ]+) ([^ ]+)$" "\\${column}")
  list(SORT expected)
  if(NOT names STREQUAL expected)
    message(FATAL_ERROR "${target}: ${names}\nexpected: ${expected}")
  endif()
  list(LENGTH names count)
  if(NOT count EQUAL declared)
    message(FATAL_ERROR "klb.h declares ${declared} functions, ${count} are listed")
  endif()
  message(STATUS "${target}: ${count} names")
endfunction()

check(x86_64-w64-windows-gnu 1)
check(x86_64-pc-windows-msvc 2)
