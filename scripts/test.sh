#!/bin/sh
# Builds everything and runs all tests. Installs missing packages.
# usage: scripts/test.sh [PRESET]   (release, debug, asan, clang; default release)
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/install_packages.sh g++ make cmake libgtest-dev libgmock-dev libcli11-dev libgdal-dev libhdf5-dev \
  libpugixml-dev libzip-dev nlohmann-json3-dev pybind11-dev python3-dev python3-numpy python3-pytest
[ "$preset" != clang ] || scripts/install_packages.sh clang
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" --parallel "$(nproc)"
