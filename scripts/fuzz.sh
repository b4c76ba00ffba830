#!/usr/bin/env bash
# Builds the libFuzzer targets of the vector file reader with clang and runs each for a bounded
# time (KELMIRA_FUZZ_SECONDS, 12 by default) on a seed corpus of valid files. Exits non-zero
# when a fuzzer finds a crash, a leak or a broken invariant; the input is kept in build/fuzz/artifacts.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/fuzz
seconds=${KELMIRA_FUZZ_SECONDS:-12}
flags="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer"
CC=clang-14 CXX=clang++-14 cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DBUILD_SHARED_LIBS=OFF -DKELMIRA_BUILD_FUZZ=ON -DKELMIRA_BUILD_TESTS=OFF -DKELMIRA_BUILD_TOOLS=OFF \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" >/dev/null
cmake --build "$build" --target kelmira_fuzz_seeds kelmira_fuzz_load_path kelmira_fuzz_load_bw8path \
  kelmira_fuzz_load_bw16path kelmira_fuzz_load_c24path kelmira_fuzz_load_peak

seeds=$build/seeds
rm -rf "$seeds" "$build/artifacts" && mkdir -p "$seeds" "$build/artifacts"
"$build/tests/fuzz/kelmira_fuzz_seeds" "$seeds"

status=0
for kind in path bw8path bw16path c24path peak; do
  work=$build/corpus/$kind
  mkdir -p "$work"
  log=$build/fuzz_$kind.log
  # New inputs go to the first directory; the seeds stay as written.
  if UBSAN_OPTIONS=print_stacktrace=1 "$build/tests/fuzz/kelmira_fuzz_load_$kind" \
      -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=256 -timeout=10 \
      -print_final_stats=1 -artifact_prefix="$build/artifacts/${kind}_" "$work" "$seeds/$kind" >"$log" 2>&1; then
    echo "fuzz load $kind: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") runs, no failure"
  else
    echo "fuzz load $kind: FAILED (log: $log)"
    tail -n 40 "$log"
    status=1
  fi
done
exit $status
