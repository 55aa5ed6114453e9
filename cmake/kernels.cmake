# Kernels are written once and compiled for several instruction-set levels.
# Each level is an object library whose sources see LUM_ISA as the namespace
# of that level; the dispatcher in src/primitives picks one at run time.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64")
  set(LUM_ISA_LEVELS base avx2 avx512)
else()
  set(LUM_ISA_LEVELS base)
  add_compile_definitions(LUM_SINGLE_ISA)
endif()
set(LUM_ISA_FLAGS_base "")
set(LUM_ISA_FLAGS_avx2 -mavx2 -mfma -mbmi2 -mpopcnt)
set(LUM_ISA_FLAGS_avx512 -mavx512f -mavx512bw -mavx512vl -mavx512dq -mavx512cd -mfma -mbmi2 -mpopcnt
    -mprefer-vector-width=512)

function(lum_add_kernel_variants target)
  set(sources ${ARGN})
  foreach(level IN LISTS LUM_ISA_LEVELS)
    set(obj ${target}_kernels_${level})
    add_library(${obj} OBJECT ${sources})
    target_include_directories(${obj} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
    target_compile_definitions(${obj} PRIVATE LUM_ISA=isa_${level})
    # Loops stay vector loops instead of becoming memset/memcpy calls, whose
    # start-up cost shows on rows of a few kilobytes.
    # No contraction of a * b + c into FMA: every level must give the baseline's bits.
    # No trapping math: float compares become vector selects (no code reads the FP flags).
    target_compile_options(${obj} PRIVATE ${LUM_WARNINGS} -O3 -ffp-contract=off -fno-trapping-math
                           $<$<CXX_COMPILER_ID:GNU>:-fno-tree-loop-distribute-patterns>
                           ${LUM_ISA_FLAGS_${level}})
    if(LUM_FUZZ)
      # Comparisons in pixel loops tell the fuzzer nothing about the interface
      # and cost most of its time; edge coverage stays.
      target_compile_options(${obj} PRIVATE -fno-sanitize-coverage=trace-cmp)
    endif()
    set_target_properties(${obj} PROPERTIES
      POSITION_INDEPENDENT_CODE ON
      CXX_VISIBILITY_PRESET hidden
      VISIBILITY_INLINES_HIDDEN ON)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${obj}>)
  endforeach()
endfunction()
