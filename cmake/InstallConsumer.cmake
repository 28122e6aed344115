# The installed library seen from outside, in three steps sharing one prefix:
#
#   MODE=install    a fresh `cmake --install` of BUILD_DIR into PREFIX, and
#                   the installed command run when CLI is true
#   MODE=pkgconfig  tests/install/consumer.c as strict C99, flags from
#                   `pkg-config --cflags --libs kalviro`, built and run
#   MODE=cmake      tests/install/cmake configured with find_package(kalviro)
#                   against PREFIX, built and run
#
# A step that cannot run here prints KALVIRO_SKIP, which the test takes as a
# skip rather than a pass.
foreach(var MODE SOURCE_DIR BUILD_DIR PREFIX WORK_DIR LIBDIR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "InstallConsumer: ${var} not given")
  endif()
endforeach()

function(run_checked what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT "${out}" STREQUAL "")
    message("${out}")
  endif()
  if(NOT rc EQUAL 0)
    string(REPLACE ";" " " shown "${ARGN}")
    message(FATAL_ERROR "${what} failed (${rc}):\n  ${shown}\n${err}")
  endif()
endfunction()

set(ENV{LD_LIBRARY_PATH} "${PREFIX}/${LIBDIR}")

if(MODE STREQUAL "install")
  file(REMOVE_RECURSE "${PREFIX}")
  set(config_args "")
  if(DEFINED CONFIG AND NOT CONFIG STREQUAL "")
    set(config_args --config ${CONFIG})
  endif()
  run_checked("cmake --install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX} ${config_args})
  foreach(f
      include/kalviro.h include/kalviro_caltypes.h include/kalviro.hpp
      ${LIBDIR}/libkalviro.so ${LIBDIR}/libkalviro.so.0 ${LIBDIR}/libkalviro.a
      ${LIBDIR}/pkgconfig/kalviro.pc
      ${LIBDIR}/cmake/kalviro/kalviroConfig.cmake
      ${LIBDIR}/cmake/kalviro/kalviroConfigVersion.cmake
      ${LIBDIR}/cmake/kalviro/kalviroTargets.cmake)
    if(NOT EXISTS "${PREFIX}/${f}")
      message(FATAL_ERROR "not installed: ${PREFIX}/${f}")
    endif()
  endforeach()
  # The command, installed beside the library, finds it without help.
  if(CLI)
    run_checked("installed kalviro" ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${PREFIX}/bin/kalviro list)
  endif()
  message(STATUS "installed into ${PREFIX}")

elseif(MODE STREQUAL "pkgconfig")
  find_program(PKG_CONFIG NAMES pkg-config pkgconf)
  if(NOT PKG_CONFIG)
    message("KALVIRO_SKIP: pkg-config is not installed (scripts/setup.sh installs it)")
    return()
  endif()
  set(ENV{PKG_CONFIG_PATH} "${PREFIX}/${LIBDIR}/pkgconfig")
  execute_process(COMMAND ${PKG_CONFIG} --modversion kalviro
    OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0 OR NOT version STREQUAL "${EXPECTED_VERSION}")
    message(FATAL_ERROR "pkg-config --modversion kalviro gave '${version}', not ${EXPECTED_VERSION}")
  endif()
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs kalviro
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config --cflags --libs kalviro failed")
  endif()
  message(STATUS "pkg-config: ${flags}")
  separate_arguments(flags UNIX_COMMAND "${flags}")
  file(MAKE_DIRECTORY "${WORK_DIR}")
  set(exe "${WORK_DIR}/consumer_c99")
  run_checked("C99 compile" ${CC} -std=c99 -pedantic-errors -Wall -Wextra -Werror
    -I${SOURCE_DIR}/apps/frames ${SOURCE_DIR}/tests/install/consumer.c ${flags} -o ${exe})
  run_checked("C consumer" ${exe})

elseif(MODE STREQUAL "cmake")
  set(bin "${WORK_DIR}/cmake-consumer")
  file(REMOVE_RECURSE "${bin}")
  set(args -S ${SOURCE_DIR}/tests/install/cmake -B ${bin} -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${PREFIX} -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_BUILD_TYPE=Release)
  if(DEFINED MAKE_PROGRAM AND NOT MAKE_PROGRAM STREQUAL "")
    list(APPEND args -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM})
  endif()
  run_checked("consumer configure" ${CMAKE_COMMAND} ${args})
  run_checked("consumer build" ${CMAKE_COMMAND} --build ${bin} --config Release)
  foreach(exe consumer_shared consumer_static)
    set(path "${bin}/${exe}")
    if(NOT EXISTS "${path}")
      set(path "${bin}/Release/${exe}")
    endif()
    run_checked("${exe}" ${path})
  endforeach()

else()
  message(FATAL_ERROR "InstallConsumer: unknown MODE ${MODE}")
endif()
