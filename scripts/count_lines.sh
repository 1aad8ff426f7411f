#!/bin/sh
# Counts the lines of code per folder, without blank lines and lines of comment only, and the share
# of the test code, which should be a quarter to a third.
set -eu
cd "$(dirname "$0")/.."

count() {
  git ls-files -z -co --exclude-standard -- "$@" | xargs -0 -r cat | grep -cvE '^[[:space:]]*((//|#[^a-z]).*)?$' || true
}
code_of() { count "$1*.cpp" "$1*.h" "$1*.tcc" "$1*.inc" "$1*.py" "$1*.sh"; }

all=$(code_of '')
tests=$(code_of 'tests/')
for folder in basic runtime time pool dem orbit geolocation imaging app api toolbox python examples bench scripts \
  cmake tests; do
  lines=$(code_of "$folder/")
  [ "${lines:-0}" = 0 ] || printf '%-12s %6d\n' "$folder" "$lines"
done
printf '%-12s %6d\ntest code: %d %%\n' all "$all" $((100 * tests / all))
