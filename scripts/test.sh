#!/usr/bin/env bash
# Builds the library and its tests and runs them through ctest.
# LUM_SANITIZE=1 builds with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test
dir=build
flags=(-DCMAKE_BUILD_TYPE=Release -DLUM_BUILD_BENCH=OFF -DLUM_BUILD_DEMO=ON)
ctest_args=()
case "${LUM_SANITIZE:-0}" in
  1|address)
    dir=build-asan
    flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUM_SANITIZE=ON -DLUM_BUILD_BENCH=OFF -DLUM_BUILD_DEMO=OFF) ;;
  thread)
    # The concurrency tests under ThreadSanitizer.
    dir=build-tsan
    flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUM_TSAN=ON -DLUM_BUILD_BENCH=OFF -DLUM_BUILD_DEMO=OFF)
    ctest_args=(-R 'Stress') ;;
esac
cmake -S . -B "$dir" "${flags[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)"
export ASAN_OPTIONS=${ASAN_OPTIONS:-allocator_may_return_null=1:detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)" "${ctest_args[@]}"
