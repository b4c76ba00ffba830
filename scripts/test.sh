#!/usr/bin/env bash
# Builds Kelmira and runs every test. Installs missing Debian packages first.
# KELMIRA_SANITIZE=OFF builds without AddressSanitizer and UndefinedBehaviorSanitizer (on by default).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh clang-14 libclang-rt-14-dev
sanitize=${KELMIRA_SANITIZE:-ON}
build=build/test-$( [ "$sanitize" = ON ] && echo asan || echo plain )
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELMIRA_SANITIZE="$sanitize" >/dev/null
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j2
if [ -x scripts/fuzz.sh ]; then bash scripts/fuzz.sh; fi
