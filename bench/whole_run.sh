#!/bin/sh
# Times the whole process on the example scene in turn with two others: an empty C++ program, and a
# floor that reads, locates, logs and updates the same (bench/process_floor.cpp). Each run starts
# with fresh pools, because the log pool would grow by an entry a run. In memory the six flushes of
# a run cost nothing, so only the program's own time is left.
# usage: bench/whole_run.sh [RUNS] [DIRECTORY]   (by default 200 in /dev/shm)
set -eu
cd "$(dirname "$0")/.."
runs=${1:-200}
goal=1.75

scripts/install_packages.sh g++ make cmake hyperfine
cmake --preset release -DQM_BUILD_TESTS=OFF -B build/demo >/dev/null
cmake --build build/demo --target quellmark --parallel "$(nproc)" >/dev/null
program=$PWD/build/demo/app/quellmark
scene=$PWD/examples/scenes/s1a_iw1_slc_quebec.pool

run=$(mktemp -d "${2:-/dev/shm}/quellmark.XXXXXX")
trap 'rm -rf "$run"' EXIT
g++ -std=c++20 -O3 -static -o "$run/floor" bench/process_floor.cpp
cd "$run"
printf '#include <string>\nint main(int argc, char**) { return static_cast<int>(std::string(argc, 0).size()) - 1; }\n' >empty.cpp
g++ -O2 -static -o empty empty.cpp
cp "$scene" scene.pool
strip -o stripped "$program"

hyperfine --style=none --output=null --shell=none --warmup 20 --runs "$runs" ./empty "./floor log.pool scene.pool log" \
  "$program -log_pp log.pool -SCENE_POOL scene.pool -USE_DEM false -lfn log -lsl 9" \
  --prepare "sh -c 'cp $scene scene.pool && rm -f log.pool'" --export-csv times.csv
# The fastest run of each counts, because other processes only ever slow a run down.
awk -F, -v goal=$goal 'NR > 1 { t[NR] = 1000 * $7 } END {
  printf "fastest: empty program %.2f ms, floor %.2f ms, whole run %.2f ms\n", t[2], t[3], t[4]
  ratio = t[4] / t[3]
  printf "whole run over floor: %.2f, goal %.2f: %s\n", ratio, goal, ratio <= goal ? "met" : "MISSED"
}' times.csv
printf 'stripped executable: %d bytes\n' "$(stat -c %s stripped)"
