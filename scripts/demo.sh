#!/bin/sh
# Builds quellmark and runs it on a copy of a shipped real scene. Installs missing packages.
set -eu
cd "$(dirname "$0")/.."

scripts/install_packages.sh g++ make cmake
cmake --preset release -DQM_BUILD_TESTS=OFF -B build/demo >/dev/null
cmake --build build/demo --target quellmark --parallel "$(nproc)"

run=$(mktemp -d)
trap 'rm -rf "$run"' EXIT
cp examples/scenes/s1a_iw1_slc_quebec.pool "$run/scene.pool"
program=$PWD/build/demo/app/quellmark
cd "$run"

echo
echo "\$ quellmark -log_pp log.pool -SCENE_POOL scene.pool -USE_DEM false -lfn log -lsl ALARM"
"$program" -log_pp log.pool -SCENE_POOL scene.pool -USE_DEM false -lfn log -lsl ALARM
echo "exit status $?; status file: $(ls OK.*)"
echo
echo 'its report:'
iconv -f latin1 -t utf-8 log | sed -n '/Perform geolocalization/,/Write parameters/p'
echo
echo 'the results that it wrote into the scene pool:'
grep -E '^(center|first_(near|far)|last|inc_angle|zero_doppler|b_param|fm_rate)' scene.pool
