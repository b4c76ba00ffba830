#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests and the tool need, where they are missing.
# Pass extra package names to install those too (the benchmarks add OpenCV and Google Benchmark).
set -euo pipefail
packages=(cmake ninja-build g++ pkg-config libhwy-dev libgtest-dev libgmock-dev libpng-dev
  pybind11-dev python3-dev python3-numpy python3-pytest python3-dask python3-distributed "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  echo "installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
