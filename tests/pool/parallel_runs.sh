#!/usr/bin/env bash
# Starts many runs at the same time that share pools. All must succeed, and nothing may be lost.
# usage: parallel_runs.sh PROGRAM SCENE_POOL [RUNS=200] [ROUNDS=5]
# In each round RUNS runs share first a log pool with 1000 old names, then a scene pool and a log
# pool, then one file that is both.
set -u
program=$(realpath "$1") scene=$(realpath "$2") runs=${3:-200} rounds=${4:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
export TMPDIR=$work
failed=0

# expect WHAT ACTUAL EXPECTED
expect() {
  [ "$2" = "$3" ] && return
  echo "$where: $1 is $2, not $3"
  failed=1
}

# run_all LOG_POOL SCENE_POOL: starts RUNS runs at once. "%" in a path stands for the number of the
# run.
run_all() {
  local i status pids=() failures=0
  for ((i = 0; i < runs; ++i)); do
    "$program" -pid "run$i" -log_pp "${1/\%/$i}" -SCENE_POOL "${2/\%/$i}" -USE_DEM false \
      -lfn "run$i.log" -lsl 9 </dev/null >/dev/null 2>&1 &
    pids+=($!)
  done
  for i in "${pids[@]}"; do
    wait "$i"
    status=$?
    [ $status = 0 ] || failures=$((failures + 1))
  done
  expect "the number of failed runs" $failures 0
  expect "the number of copies left" "$(find . -name 'pool_??????' | wc -l)" 0
}

# names POOL: prints the length of "software_names", then how many of its elements are old and new.
names() {
  echo "$(awk '$1 == "software_names" { print $4 }' "$1")" "$(grep -c '"earlier run' "$1")" \
    "$(grep -c '"quellmark\.v' "$1")"
}

cp "$scene" alone.pool
"$program" -log_pp alone.log.pool -SCENE_POOL alone.pool -USE_DEM false -lsl 9 </dev/null >/dev/null ||
  { echo "the undisturbed run fails"; exit 1; }

for ((round = 1; round <= rounds; ++round)); do
  where="round $round, one log pool"
  {
    printf 'software_names                   STR_V           1\t1000\n        {\n'
    printf '        "earlier run %d"\n' {1..1000}
    printf '        }\n'
  } >log.pool
  for ((i = 0; i < runs; ++i)); do cp "$scene" "scene$i.pool"; done
  run_all log.pool scene%.pool
  expect "software_names" "$(names log.pool)" "$((1000 + runs)) 1000 $runs"
  for ((i = 0; i < runs; ++i)); do cmp -s alone.pool "scene$i.pool" || expect "scene$i.pool" other same; done

  where="round $round, one scene pool"
  cp "$scene" scene.pool
  rm log.pool
  run_all log.pool scene.pool
  expect "software_names" "$(names log.pool)" "$runs 0 $runs"
  cmp -s alone.pool scene.pool || expect "the scene pool" other same

  where="round $round, one file"
  cp "$scene" both.pool
  run_all both.pool both.pool
  expect "software_names" "$(names both.pool)" "$runs 0 $runs"
  head -c "$(stat -c %s alone.pool)" both.pool | cmp -s alone.pool - ||
    expect "the scene's part of the pool" other same
done
[ $failed = 0 ] && echo "$rounds x 3 x $runs runs: all succeeded, nothing is lost"
exit $failed
