#!/bin/sh
# Installs the library as a user would and builds users' programs with it: static and shared, by
# CMake and pkg-config, from a prefix that was moved, and as a folder of another project. Then
# checks which names the library exports and which files it opens.
# usage: tests/install/run.sh BUILD_FOLDER (a configured and built static release)
set -eu
build=$(cd "$1" && pwd)
sources=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export PATH="/usr/bin:/bin:$PATH"
pool=$sources/examples/scenes/s1a_iw1_slc_quebec.pool
table=${pool%.pool}.results.csv

fail() {
  echo "$*" >&2
  exit 1
}

# Runs the example that locates a scene and compares every value with the table, to a relative 1e-9.
check_program() {
  "$1" "$pool" >"$scratch/results.csv"
  paste -d, "$table" "$scratch/results.csv" | awk -F, '
    NR == 1 { next }
    { d = $2 - $4; if (d < 0) d = -d; m = $2 < 0 ? -$2 : $2
      if ($1 != $3 || d > 1e-9 * m) { print "differs: " $0; bad = 1 } }
    END { if (NR != 24) { print NR " lines"; bad = 1 }; exit bad }' || fail "wrong results of $1"
}

build_consumer() { # build_consumer PREFIX FOLDER
  cmake -S "$sources/examples/cpp" -B "$2" -DCMAKE_PREFIX_PATH="$1" >"$2.log" 2>&1 &&
    cmake --build "$2" >>"$2.log" 2>&1 || { cat "$2.log"; fail "no consumer of $1"; }
  check_program "$2/locate_scene"
}

# Lists the exported names that no public header declares. Namespaces of the core begin with a small
# letter.
foreign_names() {
  grep -vE '^_ZT[ISV]N9quellmark[0-9]+[A-Za-z]*ErrorE$' | grep -vE '^_ZNK?9quellmark[0-9]+[A-Z]' ||
    true
}

echo 'static, moved after the installation'
cmake --install "$build" --prefix "$scratch/first" --component library >/dev/null
mv "$scratch/first" "$scratch/moved"
build_consumer "$scratch/moved" "$scratch/cmake_static"
archive=$(find "$scratch/moved" -name libquellmark.a)
left=$(nm -g --defined-only "$archive" | awk '$2 ~ /[TDBR]/ { print $3 }' | foreign_names)
[ -z "$left" ] || fail "the archive shows more than its headers: $left"

echo 'pkg-config'
PKG_CONFIG_PATH=$(dirname "$(find "$scratch/moved" -name quellmark.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046 # the flags are meant to be split
g++ -std=c++20 "$sources/examples/cpp/locate_scene.cpp" -o "$scratch/by_pkg_config" \
  $(pkg-config --cflags --libs --static quellmark)
check_program "$scratch/by_pkg_config"

echo 'every header alone'
for header in "$scratch"/moved/include/quellmark/*.h; do
  echo "#include <quellmark/${header##*/}>" | g++ -std=c++20 -Wall -Wextra -Wpedantic -Werror \
    -fsyntax-only -I"$scratch/moved/include" -x c++ - || fail "$header does not stand alone"
done

echo 'a pool that is read: no write, no creation, no output'
cp "$pool" "$scratch/scene.pool"
chmod 0444 "$scratch/scene.pool"
strace -f -o "$scratch/trace" -e trace=file,write,pwrite64,writev,ftruncate,fchmod \
  "$scratch/by_pkg_config" "$scratch/scene.pool" >/dev/null
grep -E 'O_WRONLY|O_RDWR|O_CREAT|O_TRUNC|unlink|rename|mkdir|ftruncate|chmod' "$scratch/trace" &&
  fail 'a file was opened for writing'
[ "$(grep -c 'write(' "$scratch/trace")" -eq "$(grep -c 'write(1, "key,value' "$scratch/trace")" ] ||
  fail 'something was printed beside the results'

echo 'shared, as a part of another project'
configure_subproject() { # configure_subproject WAY FOLDER
  cmake -S "$sources/tests/install/subproject" -B "$2" -DQM_WAY="$1" -DQM_SOURCES="$sources" \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O1 -DEXPECTED_CMAKE_BUILD_TYPE=None >"$scratch/sub.log" 2>&1
}
configure_subproject add_subdirectory "$scratch/folder" ||
  { cat "$scratch/sub.log"; fail 'no subproject'; }
configure_subproject FetchContent "$scratch/sub" &&
  cmake --build "$scratch/sub" --parallel 2 --target quellmark_library example_locate_scene \
    example_incidence_grid example_edit_pool >>"$scratch/sub.log" 2>&1 ||
  { cat "$scratch/sub.log"; fail 'no subproject'; }
check_program "$scratch/sub/examples/locate_scene"
cmake --install "$scratch/sub" --prefix "$scratch/shared" --component library >/dev/null
build_consumer "$scratch/shared" "$scratch/cmake_shared"
library=$(find "$scratch/shared" -name 'libquellmark.so' | head -n 1)
readelf -d "$library" | grep -q 'SONAME.*libquellmark.so.[0-9]' || fail 'no soname'
left=$(nm -D --defined-only "$library" | awk '{ print $3 }' | foreign_names)
[ -z "$left" ] || fail "the shared library shows more than its headers: $left"
echo 'all as it should be'
