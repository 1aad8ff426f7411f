#!/bin/sh
# Times the whole process on the example scene beside an empty C++ program, in turn. Each run finds
# fresh pools: the log pool would grow by an entry a run.
# usage: bench/whole_run.sh [RUNS]
set -eu
cd "$(dirname "$0")/.."
runs=${1:-200}

scripts/install_packages.sh g++ make cmake hyperfine
cmake --preset release -DQM_BUILD_TESTS=OFF -B build/demo >/dev/null
cmake --build build/demo --target quellmark --parallel "$(nproc)" >/dev/null
program=$PWD/build/demo/app/quellmark
scene=$PWD/examples/scenes/s1a_iw1_slc_quebec.pool

run=$(mktemp -d)
trap 'rm -rf "$run"' EXIT
cd "$run"
printf '#include <string>\nint main(int argc, char**) { return static_cast<int>(std::string(argc, 0).size()) - 1; }\n' >empty.cpp
g++ -O2 -o empty empty.cpp
cp "$scene" scene.pool
strip -o stripped "$program"

hyperfine --shell=none --warmup 20 --runs "$runs" ./empty \
  "$program -log_pp log.pool -SCENE_POOL scene.pool -USE_DEM false -lfn log -lsl 9" \
  --prepare "sh -c 'cp $scene scene.pool && rm -f log.pool'" --export-csv times.csv
awk -F, 'NR > 1 { t[NR] = $4 } END { printf "median over the empty program: %.2f ms\n", 1000 * (t[3] - t[2]) }' times.csv
printf 'stripped executable: %d bytes\n' "$(stat -c %s stripped)"
