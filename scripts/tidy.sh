#!/bin/sh
# Analyses the program and the library with clang-tidy and the checks of .clang-tidy. Needs the
# compile commands of the preset "clang".
set -eu
cd "$(dirname "$0")/.."

git ls-files -z '*.cpp' ':!tests' ':!bench' |
  xargs -0 -n 4 -P "$(nproc)" clang-tidy --quiet -p build/clang
