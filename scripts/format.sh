#!/bin/sh
# Formats all C++ sources in place; with --check it changes nothing and fails if a file would
# change.
set -eu
cd "$(dirname "$0")/.."

mode=-i
[ "${1:-}" != --check ] || mode='--dry-run -Werror'
# shellcheck disable=SC2086 # the mode is meant to be split
git ls-files -z -co --exclude-standard '*.cpp' '*.h' '*.tcc' | xargs -0 clang-format $mode
