# kalviro-convert on its built-in sample and on the same frame written to a
# file must report the same temperatures.
#
#   cmake -DCONVERT=<kalviro-convert> -DWORK_DIR=<dir> -P ConvertRoundTrip.cmake
file(MAKE_DIRECTORY "${WORK_DIR}")
set(frame "${WORK_DIR}/sample.raw")

function(run out)
  execute_process(COMMAND ${CONVERT} ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE text ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "kalviro-convert ${ARGN} failed (${rc}): ${err}")
  endif()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

run(builtin)
run(written --write-sample ${frame})
run(fromfile ${frame} 160 120 21 0.95)
message("${fromfile}")

# From the per-frame call on, only the frame's name may differ.
foreach(var builtin fromfile)
  string(FIND "${${var}}" "per-frame call:" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "no per-frame line in:\n${${var}}")
  endif()
  string(SUBSTRING "${${var}}" ${at} -1 ${var})
endforeach()
if(NOT builtin STREQUAL fromfile)
  message(FATAL_ERROR "built-in sample:\n${builtin}\nfrom file:\n${fromfile}")
endif()
