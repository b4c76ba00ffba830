#!/usr/bin/env bash
# Builds the benchmark program in Release (installs OpenCV and Google Benchmark if missing), runs
# it, and prints the Kelmira/OpenCV table of medians (also kept in build/bench/table.md).
# Extra arguments go to Google Benchmark (e.g. --benchmark_filter=Oper); REPS sets the repetitions.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh libopencv-dev libbenchmark-dev python3
cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELMIRA_BUILD_TESTS=OFF -DKELMIRA_BUILD_BENCH=ON >/dev/null
cmake --build build/bench --target kelmira_bench
build/bench/bench/kelmira_bench --benchmark_repetitions=${REPS:-5} --benchmark_report_aggregates_only=true \
  --benchmark_out=build/bench/results.json --benchmark_out_format=json "$@"
echo
python3 scripts/bench_table.py build/bench/results.json | tee build/bench/table.md
