#!/bin/sh
# Tries everything that the packages install on a shipped scene: the step, the tools, a program that
# is built with the library by CMake and by pkg-config, and the Python module.
# usage: packaging/try.sh ROOT FOLDER   (ROOT is / or the folder with the unpacked packages; FOLDER
# must not exist)
set -eu
usr=$(realpath "$1")
usr=${usr%/}/usr
mkdir "$2"
cd "$2"

fail() {
  echo "$*" >&2
  exit 1
}

cp "$usr/share/doc/quellmark/examples/scenes/s1a_iw1_slc_quebec.pool" scene.pool
"$usr/bin/quellmark" -log_pp log.pool -SCENE_POOL scene.pool -USE_DEM false -lfn log -lsl ALARM >step.log 2>&1 ||
  { cat step.log; fail "the step failed"; }
grep -q '^center_longitude  *FLT_6  *-6.113' scene.pool || fail 'the step found another place'
"$usr/bin/qmtool" check --strict scene.pool
"$usr/bin/qmtool-dem" --version

expect_place() {
  "$1" scene.pool | grep -q '^center_longitude,-61.135' || fail "$1 found another place"
}
cmake -S "$usr/share/doc/libquellmark-dev/examples/cpp" -B cpp -DCMAKE_PREFIX_PATH="$usr" >cpp.log
cmake --build cpp >>cpp.log || { cat cpp.log; fail 'the examples do not build'; }
expect_place cpp/locate_scene
PKG_CONFIG_PATH=$(dirname "$(find "$usr/lib" -name quellmark.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046 # the flags are meant to be split
g++ -std=c++20 "$usr/share/doc/libquellmark-dev/examples/cpp/locate_scene.cpp" -o by_pkg_config \
  $(pkg-config --cflags --libs --static quellmark)
expect_place ./by_pkg_config
[ -s "$usr/share/doc/libquellmark-dev/html/index.html" ] || fail 'no documents of the library'

PYTHONPATH=$usr/lib/python3/dist-packages
PYTHONDONTWRITEBYTECODE=1
export PYTHONPATH PYTHONDONTWRITEBYTECODE
/usr/bin/python3 "$usr/share/doc/python3-quellmark/examples/incidence_grid.py" scene.pool >grid.txt
[ "$(wc -l <grid.txt)" -ge 10 ] || fail 'the Python example printed no grid'
