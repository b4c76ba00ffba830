#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a bounded time: the vector file
# readers for KELMIRA_FUZZ_SECONDS (12 by default) on a seed corpus of valid files, the operator
# fuzzer for KELMIRA_FUZZ_OPER_SECONDS (90 by default; give it hours for a deep run) on its seeds
# and the regression inputs in tests/fuzz/corpus/oper. Exits non-zero when a fuzzer finds a
# crash, a leak or a broken invariant; the input is kept in build/fuzz/artifacts.
#
# scripts/fuzz.sh --coverage [directory...] prints the line coverage of the library's code (per
# subsystem and in total) reached by the operator fuzzer's seeds, the regression inputs and the
# given corpus directories (build/fuzz/corpus/oper, the corpus of the last run, by default), with
# clang's source-based coverage in build/fuzz-cov.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --coverage ]; then
  shift
  cov=build/fuzz-cov
  cflags="-fsanitize=fuzzer-no-link -fprofile-instr-generate -fcoverage-mapping -march=haswell -maes -DHWY_COMPILE_ONLY_STATIC=1"
  CC=clang-14 CXX=clang++-14 cmake -S . -B "$cov" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
    -DKELMIRA_BUILD_FUZZ=ON -DKELMIRA_BUILD_TESTS=OFF -DKELMIRA_BUILD_TOOLS=OFF -DCMAKE_C_FLAGS="$cflags" \
    -DCMAKE_CXX_FLAGS="$cflags" -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
    -DCMAKE_EXE_LINKER_FLAGS="-fprofile-instr-generate" >/dev/null
  cmake --build "$cov" --target kelmira_fuzz_oper kelmira_fuzz_seeds -- -j2 -l 6 >/dev/null
  rm -rf "$cov/seeds" "$cov/profiles" && mkdir -p "$cov/profiles"
  LLVM_PROFILE_FILE="$cov/seeds.profraw" "$cov/tests/fuzz/kelmira_fuzz_seeds" "$cov/seeds" >/dev/null
  [ $# -gt 0 ] || set -- build/fuzz/corpus/oper
  mkdir -p "$@"
  LLVM_PROFILE_FILE="$cov/profiles/%p.profraw" "$cov/tests/fuzz/kelmira_fuzz_oper" -runs=0 -rss_limit_mb=4096 \
    "$cov/seeds/oper" tests/fuzz/corpus/oper "$@" >"$cov/replay.log" 2>&1
  llvm-profdata-14 merge -sparse "$cov"/profiles/*.profraw -o "$cov/oper.profdata"
  # The library's own sources: not the tests, the system headers or Highway.
  llvm-cov-14 report "$cov/tests/fuzz/kelmira_fuzz_oper" -instr-profile="$cov/oper.profdata" \
    -ignore-filename-regex='(^|/)(tests|usr|hwy)/' >"$cov/report.txt"
  echo "operator fuzzer, line coverage of the library over $(sed -n 's/.*seed corpus: files: \([0-9]*\).*/\1/p' "$cov/replay.log") inputs (report: $cov/report.txt)"
  awk -v root="$PWD/" '$1 ~ /\.(cc|h)$/ { f = $1; sub(root, "", f); n = split(f, part, "/"); s = n > 1 ? part[1] : "."
      lines[s] += $8; missed[s] += $9; all += $8; allMissed += $9 }
    END { for (s in lines) printf "  %-12s %6d lines  %5.1f%%\n", s, lines[s], 100 * (lines[s] - missed[s]) / lines[s]
          printf "  %-12s %6d lines  %5.1f%%\n", "total", all, 100 * (all - allMissed) / all }' "$cov/report.txt" | sort
  exit 0
fi
build=build/fuzz
seconds=${KELMIRA_FUZZ_SECONDS:-12}
oper_seconds=${KELMIRA_FUZZ_OPER_SECONDS:-90}
# One wide target (AVX2, compiled statically) instead of every dispatch target, and line tables
# only: the instrumented library then builds in a fraction of the time, and the wide paths that
# the fuzzer compares with the scalar ones are still real vector code. Highway 1.0 takes AVX2 as
# the static target only with AES and CLMUL besides AVX2, BMI2, FMA and F16C; without them
# (-mavx2 alone) it falls back to SSSE3, which the library disables, and so to EMU128.
flags="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer"
flags="$flags -gline-tables-only -march=haswell -maes -DHWY_COMPILE_ONLY_STATIC=1"
CC=clang-14 CXX=clang++-14 cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DBUILD_SHARED_LIBS=OFF -DKELMIRA_BUILD_FUZZ=ON -DKELMIRA_BUILD_TESTS=OFF -DKELMIRA_BUILD_TOOLS=OFF \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" >/dev/null
cmake --build "$build" --target kelmira_fuzz_seeds kelmira_fuzz_load_path kelmira_fuzz_load_bw8path \
  kelmira_fuzz_load_bw16path kelmira_fuzz_load_c24path kelmira_fuzz_load_peak \
  kelmira_fuzz_oper -- -j2 -l 6

seeds=$build/seeds
rm -rf "$seeds" "$build/artifacts" && mkdir -p "$seeds" "$build/artifacts"
"$build/tests/fuzz/kelmira_fuzz_seeds" "$seeds" >/dev/null

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
# The operator fuzzer: a program of calls per input, on the seeds of every form and the inputs
# of past findings.
mkdir -p "$build/corpus/oper"
log=$build/fuzz_oper.log
# First every seed and every past finding once: a hard gate, the same inputs on every run.
if ! ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 "$build/tests/fuzz/kelmira_fuzz_oper" \
    -runs=0 -rss_limit_mb=2048 -malloc_limit_mb=512 -timeout=20 \
    "$seeds/oper" tests/fuzz/corpus/oper >"$log.replay" 2>&1; then
  echo "fuzz oper: a seed or a past finding FAILED (log: $log.replay)"
  tail -n 60 "$log.replay"
  status=1
fi
# Then new inputs for a bounded time. KELMIRA_FUZZ_STRICT=0 (the test command's setting) reports
# a new finding and keeps its input without failing the run, so that CI stays repeatable; a deep
# run fails on it.
if ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 "$build/tests/fuzz/kelmira_fuzz_oper" \
    -max_total_time="$oper_seconds" -rss_limit_mb=2048 -malloc_limit_mb=512 -timeout=20 -max_len=512 \
    -print_final_stats=1 -artifact_prefix="$build/artifacts/oper_" \
    "$build/corpus/oper" "$seeds/oper" tests/fuzz/corpus/oper >"$log" 2>&1; then
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  echo "fuzz oper: $runs inputs in ${oper_seconds}s, no failure"
elif [ "${KELMIRA_FUZZ_STRICT:-1}" = 0 ]; then
  echo "fuzz oper: NEW FINDING, input kept in $build/artifacts (log: $log); add it to tests/fuzz/corpus/oper once fixed"
  grep -v '^    #' "$log" | tail -n 12
else
  echo "fuzz oper: FAILED (log: $log)"
  tail -n 60 "$log"
  status=1
fi
exit $status
