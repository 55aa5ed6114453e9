#!/usr/bin/env bash
# Builds and runs the benchmark against OpenCV (installed when missing and run as root).
# Usage: scripts/bench.sh [name filter] [runs]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh bench
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DLUM_BUILD_TESTS=OFF -DLUM_BUILD_DEMO=OFF >/dev/null
cmake --build build-bench -j"$(nproc)" --target lum_bench
./build-bench/bench/lum_bench "$@"
