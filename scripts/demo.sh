#!/usr/bin/env bash
# The main job: installs missing Debian packages, builds Kelmira and its kelmira tool in Release,
# and runs the demo. Extra arguments go to `kelmira demo`.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKELMIRA_BUILD_TESTS=OFF -DKELMIRA_BUILD_TOOLS=ON >/dev/null
cmake --build build/release --target kelmira_tool $(grep -q "KELMIRA_BUILD_PYTHON:BOOL=ON" build/release/CMakeCache.txt && echo kelmira_python)
build/release/tools/kelmira demo --out build/demo "$@"
echo
echo "Pictures: $(pwd)/build/demo/*.png"
echo "Contact sheet: open file://$(pwd)/build/demo/index.html in a browser"
echo "More: build/release/tools/kelmira --help, build/release/tools/kelmira list"
