#!/bin/bash
# Builds the Debian packages from the committed tree, checks them with lintian and tries them in an
# empty Debian tree: installs them, runs a shipped scene and removes them without leftovers.
# debootstrap makes the tree, which needs root and a Debian mirror. Without these the packages are
# only unpacked.
# usage: scripts/package.sh [OUTPUT_FOLDER]   (build/packages by default)
#   DEBIAN_MIRROR=URL: another mirror than deb.debian.org
set -eu
cd "$(dirname "$0")/.."
output=$(realpath -m "${1:-build/packages}")
mirror=${DEBIAN_MIRROR:-http://deb.debian.org/debian}
scripts/install_packages.sh g++ cmake pkg-config dpkg-dev debhelper fakeroot lintian debootstrap \
  dh-python doxygen libcli11-dev libgdal-dev libhdf5-dev libpugixml-dev libzip-dev \
  nlohmann-json3-dev pybind11-dev python3-dev python3-numpy

version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
scratch=$(mktemp -d)
trap 'rm -rf --one-file-system "$scratch"' EXIT
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
rm -f "$output"/*-dbgsym_*.deb
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$output"/*.deb


# Lists a tree, to show that the files and folders of the packages are gone and nothing else has
# changed.
list_tree() {
  find "$1" -xdev \( -path "$1/proc" -o -path "$1/sys" -o -path "$1/dev" -o -path "$1/run" \
    -o -path "$1/tmp" -o -path "$1/trial" -o -path "$1/var/lib/dpkg" -o -path "$1/var/lib/apt" \
    -o -path "$1/var/cache" -o -path "$1/var/log" \) -prune -o -print | LC_ALL=C sort
}

try_installed() {
  local root=$1
  in_tree() { chroot "$root" env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 "$@"; }
  mkdir "$root/trial"
  cp "$output"/*.deb packaging/try.sh "$root/trial"
  in_tree apt-get update -qq
  # The dependencies are installed first, so that the lists show only what the packages themselves
  # leave.
  local package dependencies
  dependencies=$(for package in "$output"/*.deb; do dpkg-deb -f "$package" Depends; done |
    grep . | paste -sd,)
  in_tree apt-get satisfy -y -qq --no-install-recommends "$dependencies" g++ cmake make pkg-config \
    >"$scratch/tree.log" 2>&1 || {
    tail "$scratch/tree.log"
    return 1
  }
  list_tree "$root" >"$scratch/before"
  in_tree sh -c 'dpkg -i /trial/*.deb' >>"$scratch/tree.log"
  in_tree install -d -o nobody /trial/home
  in_tree su nobody -s /bin/sh -c '/trial/try.sh / /trial/home/run'
  # shellcheck disable=SC2046 # one name each
  in_tree dpkg --purge $(for package in "$output"/*.deb; do dpkg-deb -f "$package" Package; done) \
    >>"$scratch/tree.log"
  list_tree "$root" >"$scratch/after"
}

try_unpacked() {
  local root=$1
  mkdir "$root"
  list_tree "$root" >"$scratch/before"
  local package
  for package in "$output"/*.deb; do
    dpkg-deb -x "$package" "$root"
    dpkg-deb -c "$package" | awk '{ print $6 }' | sed 's,^\./,,' | grep -v '/$' >>"$scratch/files"
  done
  packaging/try.sh "$root" "$scratch/run"
  (cd "$root" && xargs -d '\n' rm -f <"$scratch/files" && find . -mindepth 1 -depth -type d -empty -delete)
  list_tree "$root" >"$scratch/after"
}

if [ "$(id -u)" -eq 0 ] && debootstrap --variant=minbase bookworm "$scratch/root" "$mirror" \
  >"$scratch/debootstrap.log" 2>&1; then
  echo 'tried: installed into an empty Debian tree'
  try_installed "$scratch/root"
else
  echo 'tried: unpacked into an empty folder (no debootstrap: not root, or no mirror)'
  rm -rf "$scratch/root"
  try_unpacked "$scratch/root"
fi
diff "$scratch/before" "$scratch/after" || {
  echo 'files are left behind' >&2
  exit 1
}
ls -l "$output"/*.deb
