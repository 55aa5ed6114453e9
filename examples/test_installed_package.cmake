# Installs the build tree into a private prefix, then builds the examples
# against it twice: through find_package(lum_lib) and through pkg-config.
# Arguments: BUILD_DIR, EXAMPLES_DIR, WORK_DIR, SANITIZE, C_COMPILER, CXX_COMPILER.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    string(REPLACE ";" " " cmd "${ARGN}")
    message(FATAL_ERROR "failed (${rc}): ${cmd}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

include(GNUInstallDirs)
foreach(f ${CMAKE_INSTALL_INCLUDEDIR}/lum_lib.h ${CMAKE_INSTALL_LIBDIR}/liblum_lib.so
          ${CMAKE_INSTALL_LIBDIR}/cmake/lum_lib/lum_libConfig.cmake
          ${CMAKE_INSTALL_LIBDIR}/cmake/lum_lib/lum_libTargets.cmake
          ${CMAKE_INSTALL_LIBDIR}/pkgconfig/lum_lib.pc)
  if(NOT EXISTS ${prefix}/${f})
    message(FATAL_ERROR "not installed: ${f}")
  endif()
endforeach()

# A sanitized library needs sanitized hosts.
set(flags "")
if(SANITIZE)
  set(flags "-fsanitize=address,undefined")
endif()

run(${CMAKE_COMMAND} -S ${EXAMPLES_DIR} -B ${WORK_DIR}/cmake-build -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    "-DCMAKE_C_FLAGS=${flags}" "-DCMAKE_CXX_FLAGS=${flags}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${WORK_DIR}/cmake-build/hello_c)
if(NOT last_output MATCHES "1 object\\(s\\), first box at \\(20, 10\\), 30 x 16")
  message(FATAL_ERROR "hello_c printed: ${last_output}")
endif()
run(${WORK_DIR}/cmake-build/hello_cpp)
message(STATUS "find_package: ok")

find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
  message(FATAL_ERROR "pkg-config not found")
endif()
set(ENV{PKG_CONFIG_PATH} ${prefix}/${CMAKE_INSTALL_LIBDIR}/pkgconfig)
run(${PKG_CONFIG} --cflags --libs lum_lib)
string(STRIP "${last_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
separate_arguments(san UNIX_COMMAND "${flags}")
run(${C_COMPILER} ${san} ${EXAMPLES_DIR}/hello.c ${pc_flags} -o ${WORK_DIR}/hello_pc)
set(ENV{LD_LIBRARY_PATH} ${prefix}/${CMAKE_INSTALL_LIBDIR})
run(${WORK_DIR}/hello_pc)
message(STATUS "pkg-config: ok")

# The tool and the Python package find the installed library from where they lie.
set(ENV{LD_LIBRARY_PATH} "")
if(EXISTS ${prefix}/${CMAKE_INSTALL_BINDIR}/lum)
  run(${prefix}/${CMAKE_INSTALL_BINDIR}/lum --help)
  message(STATUS "lum: ok")
endif()
find_program(PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
if(PYTHON AND NOT SANITIZE)
  set(ENV{PYTHONPATH} ${prefix}/lib/python3/dist-packages)
  set(ENV{LUM_LIB} "")
  run(${PYTHON} -c "import lum\nprint(lum.lib._name)\nprint(lum.Image(3, 2).shape)")
  if(NOT last_output MATCHES "^${prefix}/.*liblum_lib.so\n\\(2, 3\\)")
    message(FATAL_ERROR "the installed Python package loaded: ${last_output}")
  endif()
  message(STATUS "python: ok")
endif()
