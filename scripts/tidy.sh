#!/bin/sh
# Static analysis of the program and the library by the checks of .clang-tidy. Needs the compile
# commands of the preset "clang".
set -eu
cd "$(dirname "$0")/.."

git ls-files -z '*.cpp' ':!tests' ':!bench' ':!examples' ':!python' ':!toolbox' |
  xargs -0 -n 4 -P "$(nproc)" clang-tidy --quiet -p build/clang
