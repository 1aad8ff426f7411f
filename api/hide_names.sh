#!/bin/sh
# Replaces the objects of a static library by one that exports only the names of the public headers.
# So the core's names, such as LOG, cannot conflict with names of a program.
# usage: hide_names.sh LIBRARY AR LINKER OBJCOPY
set -eu
library=$1 ar=$2 linker=$3 objcopy=$4

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$linker" -r --force-group-allocation --whole-archive "$library" -o "$scratch/quellmark.o"
"$objcopy" --localize-hidden "$scratch/quellmark.o"
rm -f "$library"
"$ar" rcs "$library" "$scratch/quellmark.o"
