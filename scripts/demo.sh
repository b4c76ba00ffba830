#!/usr/bin/env bash
# The main job: builds Kelmira in Release and runs its demo. Installs missing Debian packages first.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELMIRA_BUILD_TESTS=OFF >/dev/null
cmake --build build/release
if [ -x build/release/tools/kelmira ]; then
  build/release/tools/kelmira demo --out build/demo "$@"
else
  build/release/tools/kelmira_example
fi
