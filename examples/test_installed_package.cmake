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
foreach(f ${CMAKE_INSTALL_INCLUDEDIR}/lum_lib.h ${CMAKE_INSTALL_INCLUDEDIR}/lum_lib.hpp ${CMAKE_INSTALL_LIBDIR}/liblum_lib.so
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
run(${WORK_DIR}/cmake-build/inspect_cpp)
if(NOT last_output MATCHES "2 part\\(s\\)\n  part 1: [0-9]+ outline points, box 40 x 20 at \\(15, 10\\)"
   OR NOT last_output MATCHES "refused as expected: lum_add: .* \\(-4\\)")
  message(FATAL_ERROR "inspect_cpp printed: ${last_output}")
endif()
message(STATUS "find_package: ok")

find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
  message(FATAL_ERROR "pkg-config not found")
endif()
# The README's pkg-config command lines, run as they stand: the shell blocks
# that build host.c and host.cpp, with the README's prefix replaced by ours,
# the compilers by this build's (plus its sanitizer flags) and the hosts by
# the examples. No LD_LIBRARY_PATH: the hosts must start from their rpath.
file(READ ${EXAMPLES_DIR}/../README.md readme)
string(REGEX MATCHALL "```sh\n[^`]*pkg-config --variable=libdir[^`]*```" blocks "${readme}")
list(LENGTH blocks block_count)
if(NOT block_count EQUAL 2)
  message(FATAL_ERROR "README: expected the C and the C++ pkg-config blocks, found ${block_count}")
endif()
unset(ENV{LD_LIBRARY_PATH})
set(shell_index 0)
foreach(block IN LISTS blocks)
  string(REGEX REPLACE "^```sh\n|```$" "" script "${block}")
  string(REPLACE "/opt/lum_lib" "${prefix}" script "${script}")
  string(REGEX REPLACE "(^|\n)cc " "\\1${C_COMPILER} ${flags} " script "${script}")
  string(REGEX REPLACE "(^|\n)c\\+\\+ " "\\1${CXX_COMPILER} ${flags} " script "${script}")
  string(REPLACE " host.cpp " " ${EXAMPLES_DIR}/inspect.cpp " script "${script}")
  string(REPLACE " host.c " " ${EXAMPLES_DIR}/hello.c " script "${script}")
  math(EXPR shell_index "${shell_index} + 1")
  set(dir ${WORK_DIR}/readme-${shell_index})
  file(MAKE_DIRECTORY ${dir})
  file(WRITE ${dir}/build.sh "set -e\ncd ${dir}\n${script}")
  run(sh ${dir}/build.sh)
  message(STATUS "README block ${shell_index}:\n${script}${last_output}")
endforeach()
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
  run(${PYTHON} -c "import lum.raw as lum\nprint(lum.lib._name)\nprint(lum.Image(3, 2).shape)")
  if(NOT last_output MATCHES "^${prefix}/.*liblum_lib.so\n\\(2, 3\\)")
    message(FATAL_ERROR "the installed Python package loaded: ${last_output}")
  endif()
  message(STATUS "python: ok")
endif()
