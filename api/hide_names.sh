#!/bin/sh
# Makes one object of a static library, in which only the names of its headers are left to link
# with: the core's own, such as LOG, cannot meet those of a program.
# usage: hide_names.sh LIBRARY AR LINKER OBJCOPY
set -eu
library=$1 ar=$2 linker=$3 objcopy=$4

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$linker" -r --force-group-allocation --whole-archive "$library" -o "$scratch/quellmark.o"
"$objcopy" --localize-hidden "$scratch/quellmark.o"
rm -f "$library"
"$ar" rcs "$library" "$scratch/quellmark.o"
