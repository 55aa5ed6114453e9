# lum_add_pytest(NAME DIR): a ctest test that runs pytest on DIR with the
# system Python (Debian's python3-numpy and python3-pytest live there, not in
# a python3 that a version manager may put first on PATH).
find_program(LUM_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_program(LUM_PYTHON NAMES python3)

set(LUM_PYTEST_PRELOAD "")
if(LUM_SANITIZE)
  # A sanitized library loaded into an unsanitized interpreter needs the runtime first.
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libasan.so
                  OUTPUT_VARIABLE asan_runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(LUM_PYTEST_PRELOAD "LD_PRELOAD=${asan_runtime}")
endif()

function(lum_add_pytest name dir)
  if(NOT LUM_PYTHON)
    message(WARNING "python3 not found: the ${name} tests are not run")
    return()
  endif()
  set(env "LUM_LIB=$<TARGET_FILE:lum_lib>" "PYTHONPATH=${PROJECT_SOURCE_DIR}/python" "PYTHONDONTWRITEBYTECODE=1"
          "ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1")
  if(TARGET lum)
    list(APPEND env "LUM_CLI=$<TARGET_FILE:lum>")
  endif()
  if(LUM_PYTEST_PRELOAD)
    list(APPEND env ${LUM_PYTEST_PRELOAD})
  endif()
  add_test(NAME ${name}
           COMMAND ${LUM_PYTHON} -m pytest -q -p no:cacheprovider --basetemp=${CMAKE_CURRENT_BINARY_DIR}/${name}-tmp
                   ${dir})
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${env}")
endfunction()
