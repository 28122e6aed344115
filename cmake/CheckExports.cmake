# The shared library's dynamic symbol table: the C entries are there, and of
# namespace kalviro nothing but the class kalviro::Camera leaks out.
#
#   cmake -DNM=<nm> -DLIBRARY=<libkalviro.so> -P CheckExports.cmake
foreach(var NM LIBRARY)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "CheckExports: ${var} not given")
  endif()
endforeach()

execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY}
  OUTPUT_VARIABLE listing ERROR_VARIABLE err RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}: ${err}")
endif()

# Symbol names only: drop the address and the type letter of each line.
string(REPLACE "\n" ";" lines "${listing}")
set(names "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[0-9a-fA-F]* *[A-Za-z] (.+)$")
    list(APPEND names "${CMAKE_MATCH_1}")
  endif()
endforeach()
list(LENGTH names count)
message(STATUS "${count} exported symbols")

set(required
  Temperature_GetFrameInfo Temperature_GetTempFromGray
  KALVIRO_Gray2Temp_Init KALVIRO_Gray2Temp_Real KALVIRO_Gray2Temp_Once
  KALVIRO_Gray2Temp_Init_GET KALVIRO_Gray2Temp_Real_GET KALVIRO_GetIT_GET
  KALVIRO_GetIT KALVIRO_GetTempPara KALVIRO_IsAlgSurport
  KALVIRO_GetVersion KALVIRO_GetVersionMinute KALVIRO_Temp2Gray kalviro_convert_frame
  kalviro_convert_frame_threads kalviro_cores kalviro_lanes kalviro_set_lanes
  kalviro_camera_create kalviro_camera_destroy kalviro_camera_size kalviro_camera_align
  kalviro_camera_init kalviro_camera_caltype kalviro_camera_gray2temp_init kalviro_camera_gray2temp_real
  kalviro_camera_gray2temp_once kalviro_camera_getit kalviro_camera_temppara kalviro_camera_temp2gray
  kalviro_camera_convert_frame kalviro_camera_state_layout kalviro_camera_save kalviro_camera_load
  Gray2TempEx12_early_init Gray2TempEx12_realtime Gray2TempEx60_early_init Gray2TempEx60_realtime
  Gray2Temp_Init_21 Gray2Temp_Real_21 Gray2Temp_Once_21
  GetITValue_21 GetITValue_73 TempPara_get_12 TempPara_get_121 GetTempPara_121
  myexp Esp_Table kalviro_table kalviro_table_size)
# Matched by whole name: a C entry that lost extern "C" shows up demangled
# with its argument list and counts as missing.
set(failures "")
foreach(sym IN LISTS required)
  list(FIND names "${sym}" at)
  if(at EQUAL -1)
    string(APPEND failures "  missing: ${sym}\n")
  endif()
endforeach()

foreach(name IN LISTS names)
  set(bare "${name}")
  string(REGEX REPLACE "^(typeinfo name for|typeinfo for|vtable for|VTT for) " "" bare "${bare}")
  if(bare MATCHES "kalviro::" AND NOT bare MATCHES "^kalviro::Camera(::|$)")
    string(APPEND failures "  internal: ${name}\n")
  endif()
endforeach()

if(NOT failures STREQUAL "")
  message(FATAL_ERROR "Dynamic symbol table of ${LIBRARY}:\n${failures}")
endif()
message(STATUS "exports as intended")
