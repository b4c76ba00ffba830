#!/usr/bin/env bash
# Builds the benchmark program in Release (installs OpenCV and Google Benchmark if missing) and
# runs it. Extra arguments go to Google Benchmark (e.g. --benchmark_filter=Oper).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh libopencv-dev libbenchmark-dev
cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELMIRA_BUILD_TESTS=OFF -DKELMIRA_BUILD_BENCH=ON >/dev/null
cmake --build build/bench --target kelmira_bench
build/bench/bench/kelmira_bench --benchmark_repetitions=${REPS:-5} --benchmark_report_aggregates_only=true "$@"
