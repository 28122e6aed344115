# The code of the files compiled for wider vector sets (AVX2, AVX-512) may run
# only where the processor has them. Every function they define must be
# their own: a function of any other name there (an inline function of a
# header, say) could stand in for the baseline copy at link time and run on
# a processor without the set.
#
#   cmake -DNM=<nm> -DOBJECTS=<object;...> -P CheckLaneSymbols.cmake
foreach(var NM OBJECTS)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "CheckLaneSymbols: ${var} not given")
  endif()
endforeach()

set(failures "")
set(checked 0)
foreach(object IN LISTS OBJECTS)
  if(NOT object MATCHES "lanes_(avx2|avx512)\\.cpp")
    continue()
  endif()
  set(set_name "${CMAKE_MATCH_1}")
  math(EXPR checked "${checked} + 1")
  execute_process(COMMAND ${NM} -C --defined-only ${object}
    OUTPUT_VARIABLE listing ERROR_VARIABLE err RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${object}: ${err}")
  endif()
  string(REPLACE "\n" ";" lines "${listing}")
  foreach(line IN LISTS lines)
    # Global and weak code only: local symbols cannot be taken for others.
    if(NOT line MATCHES "^[0-9a-fA-F]* *[TWi] (.+)$")
      continue()
    endif()
    set(name "${CMAKE_MATCH_1}")
    if(name MATCHES "lanes_${set_name}::" OR name STREQUAL "kalviro::${set_name}Builders()")
      continue()
    endif()
    string(APPEND failures "  ${object}: ${name}\n")
  endforeach()
endforeach()

if(checked EQUAL 0)
  message(STATUS "no object of a wider vector set in this build")
elseif(NOT failures STREQUAL "")
  message(FATAL_ERROR "Functions of other names compiled for a wider vector set:\n${failures}")
else()
  message(STATUS "${checked} objects of wider vector sets define only their own functions")
endif()
