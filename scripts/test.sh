#!/usr/bin/env bash
# Builds Kelmira and runs every test. Installs missing Debian packages first.
# KELMIRA_SANITIZE=OFF builds without AddressSanitizer and UndefinedBehaviorSanitizer (on by default).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh clang-14 libclang-rt-14-dev
sanitize=${KELMIRA_SANITIZE:-ON}
build=build/test-$( [ "$sanitize" = ON ] && echo asan || echo plain )
# ccache, where the machine has it, makes a rebuild after a small change cheap.
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELMIRA_SANITIZE="$sanitize" "${launcher[@]}" >/dev/null
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j2
# The fuzzers: seeds and past findings as a hard gate, then a bounded search for new findings.
if [ -x scripts/fuzz.sh ]; then KELMIRA_FUZZ_STRICT=0 bash scripts/fuzz.sh; fi
