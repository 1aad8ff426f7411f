#!/bin/bash
# Builds the Debian packages from the committed tree, checks them with lintian and tries them in an
# empty tree: unpacks them, runs a shipped scene and removes them.
# usage: scripts/package.sh [OUTPUT_FOLDER]   (build/packages by default)
set -eu
cd "$(dirname "$0")/.."
output=$(realpath -m "${1:-build/packages}")
scripts/install_packages.sh g++ cmake dpkg-dev debhelper fakeroot lintian libcli11-dev libgdal-dev \
  libhdf5-dev libpugixml-dev libzip-dev nlohmann-json3-dev

version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/quellmark-$version
mkdir "$tree"
git archive HEAD | tar -x -C "$tree"
cp -r "$tree/packaging/debian" "$tree/debian"
mkdir -p "$tree/debian/source"
echo '3.0 (native)' >"$tree/debian/source/format"
date=$(git log -1 --format=%cD)
cat >"$tree/debian/changelog" <<EOF
quellmark ($version) bookworm; urgency=medium

  * See CHANGELOG.md.

 -- quellmark developers <quellmark@example.org>  $date
EOF

(cd "$tree" && dpkg-buildpackage -us -uc -b -j"$(nproc)") >"$scratch/build.log" 2>&1 || {
  tail -n 60 "$scratch/build.log"
  exit 1
}
mkdir -p "$output"
rm -f "$output"/*.deb
cp "$scratch"/*.deb "$output"
lintian --fail-on error --tag-display-limit 0 "$output"/*.deb

echo 'tried in an empty tree:'
root=$scratch/root
mkdir "$root"
for package in "$output"/*.deb; do
  case $package in *-dbgsym_*) continue ;; esac
  dpkg-deb -x "$package" "$root"
  dpkg-deb -c "$package" | awk '{ print $6 }' | sed 's,^\./,,' | grep -v '/$' >>"$scratch/files"
done
run=$scratch/run
mkdir "$run"
cp "$root/usr/share/doc/quellmark/examples/scenes/s1a_iw1_slc_quebec.pool" "$run/scene.pool"
(cd "$run" && "$root/usr/bin/quellmark" -log_pp log.pool -SCENE_POOL scene.pool -USE_DEM false \
  -lfn log -lsl ALARM)
grep -q '^center_longitude  *FLT_6  *-6.113' "$run/scene.pool"
g++ -std=c++20 examples/cpp/locate_scene.cpp -o "$run/locate_scene" -I"$root/usr/include" \
  "$(find "$root" -name libquellmark.a)" -pthread
"$run/locate_scene" "$run/scene.pool" | grep -q '^center_longitude,-61.135'
"$root/usr/bin/qmtool" check --strict "$run/scene.pool"
"$root/usr/bin/qmtool-dem" --version
(cd "$root" && xargs -d '\n' rm -f <"$scratch/files" && find . -depth -type d -empty -delete)
[ ! -e "$root" ] || [ -z "$(find "$root" -type f)" ] || {
  echo 'files are left behind' >&2
  exit 1
}
ls -l "$output"/*.deb
