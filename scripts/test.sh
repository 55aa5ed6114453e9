#!/usr/bin/env bash
# Builds the library and its tests and runs them through ctest.
# LUM_SANITIZE=1 builds with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test
dir=build
flags=(-DCMAKE_BUILD_TYPE=Release -DLUM_BUILD_BENCH=OFF -DLUM_BUILD_DEMO=ON)
if [ "${LUM_SANITIZE:-0}" = 1 ]; then
  dir=build-asan
  flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUM_SANITIZE=ON -DLUM_BUILD_BENCH=OFF -DLUM_BUILD_DEMO=OFF)
fi
cmake -S . -B "$dir" "${flags[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)"
export ASAN_OPTIONS=${ASAN_OPTIONS:-allocator_may_return_null=1:detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)"
