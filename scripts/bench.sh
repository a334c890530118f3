#!/usr/bin/env bash
# Builds and runs the benchmarks (release build). Extra arguments go to Google
# Benchmark, e.g. --benchmark_filter=Txt --benchmark_repetitions=5.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-deps.sh
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELMORA_BUILD_TESTS=OFF >/dev/null
cmake --build build-release --target velmora_bench
build-release/bench/velmora_bench --benchmark_counters_tabular=true "$@"
