#!/bin/sh
# A walk through qmtool on the shipped scenes: check, run, locate, map. Leaves map.html.
# usage: scripts/tour.sh [MAP]   (map.html by default)
set -eu
map=$(realpath -m "${1:-map.html}")
cd "$(dirname "$0")/.."

scripts/install_packages.sh g++ make cmake libpugixml-dev libzip-dev libhdf5-dev libcli11-dev \
  nlohmann-json3-dev
cmake --preset release -DQM_BUILD_TESTS=OFF -DQM_BUILD_TOOLBOX=ON -B build/demo >/dev/null
cmake --build build/demo --target quellmark qmtool --parallel "$(nproc)"
PATH=$PWD/build/demo/app:$PWD/build/demo/toolbox/cli:$PATH

run=$(mktemp -d)
trap 'rm -rf "$run"' EXIT
cp examples/scenes/*.pool "$run"
cd "$run"
show() {
  printf '\n$ %s\n' "$*"
  "$@"
}
show qmtool check s1a_iw1_slc_quebec.pool s1a_s3_slc_comoros.pool s1b_iw_grd_alps.pool
ls ./*.pool >scenes.txt
show qmtool batch scenes.txt --out run1
show qmtool pool get s1b_iw_grd_alps.pool center_longitude
show qmtool locate s1b_iw_grd_alps.pool --at 0,0
show qmtool locate s1b_iw_grd_alps.pool --ground 10.5,46.5,1500
show qmtool pool set s1b_iw_grd_alps.pool local_height 1600
show qmtool check s1b_iw_grd_alps.pool || true # its results are stale now
show qmtool map s1a_iw1_slc_quebec.pool s1a_s3_slc_comoros.pool s1b_iw_grd_alps.pool -o "$map"
