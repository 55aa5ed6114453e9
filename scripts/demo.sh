#!/usr/bin/env bash
# Builds the library and runs the demo.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DLUM_BUILD_TESTS=OFF -DLUM_BUILD_BENCH=OFF >/dev/null
cmake --build build -j"$(nproc)" --target lum_demo
./build/lum_demo
