#!/usr/bin/env bash
# Builds the libFuzzer driver of the C interface (clang, ASan + UBSan) and runs
# it on the seed corpus for the given number of seconds (default 120).
# Fails on any finding. New inputs go to build-fuzz/corpus, not to the repository.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-120}
scripts/setup.sh fuzz
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUM_FUZZ=ON \
  -DLUM_BUILD_TESTS=OFF -DLUM_BUILD_BENCH=OFF -DLUM_BUILD_DEMO=OFF >/dev/null
cmake --build build-fuzz -j"$(nproc)" --target fuzz_interface
mkdir -p build-fuzz/corpus
export ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
./build-fuzz/fuzz/fuzz_interface -max_total_time="$seconds" -rss_limit_mb=4096 -timeout=20 \
  -print_final_stats=1 -artifact_prefix=build-fuzz/ build-fuzz/corpus fuzz/corpus
