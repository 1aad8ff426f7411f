#!/usr/bin/env bash
# Runs quellmark.sbatch on a one-node Slurm that it starts itself. An array of 8 tasks locates 2,000
# scenes, 7 of them faulty. Two tasks are killed and requeued, and the node's daemon is restarted
# once. Every scene must be located exactly once. Needs root for the daemons. Ends and removes
# everything when it is done.
# usage: scripts/cluster_test.sh [--rate] [BUILD_DIRECTORY] (default build/release, already built)
#   Exits with 77 where Slurm cannot run: without root, its packages or its daemons.
#   With --rate, the array must also reach 0.8 of the rate of a plain loop. Only an otherwise idle
#   machine can show that.
set -euo pipefail
cd "$(dirname "$0")/.."
checks_rate=0
[ "${1:-}" = --rate ] && { checks_rate=1; shift; }
build=$(realpath "${1:-build/release}")
say() { printf 'cluster_test: %s\n' "$*"; }
skip() {
  say "skipped: $*"
  exit 77
}
[ "$(id -u)" -eq 0 ] || skip "has to run as root"
scripts/install_packages.sh slurmctld slurmd slurm-client munge procps >&2 || skip "no packages of Slurm"

scenes=2000
spoiled=7
tasks=8
work=$(mktemp -d /tmp/qm_cluster.XXXXXX)
chmod 755 "$work"
root=$PWD
fail() {
  say "FAILED: $*"
  tail -n 8 "$work"/*.log "$work"/slurm-*.out 2>/dev/null || true
  exit 1
}

end_daemons() {
  local pid_file
  for pid_file in "$work"/slurmd.pid "$work"/slurmctld.pid "$work"/munged.pid; do
    [ -s "$pid_file" ] && kill "$(cat "$pid_file")" 2>/dev/null
  done
  sleep 1
  rm -rf "$work"
}
trap end_daemons EXIT

# --- the cluster: munged, slurmctld and slurmd on the loopback, all their files in $work ---
host=$(hostname -s)
mkdir -p "$work/munge" "$work/state" "$work/spool"
chmod 700 "$work/munge"
dd if=/dev/urandom of="$work/munge/key" bs=1024 count=1 status=none
chmod 400 "$work/munge/key"
munged --force --key-file="$work/munge/key" --socket="$work/munge/socket" \
  --pid-file="$work/munged.pid" --log-file="$work/munged.log" --seed-file="$work/munge/seed" || skip "munged does not start"
cat >"$work/slurm.conf" <<END
ClusterName=test
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=16817
SlurmdPort=16818
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket=$work/munge/socket
CryptoType=crypto/munge
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
ReturnToService=2
JobRequeue=1
SchedulerParameters=batch_sched_delay=1,sched_interval=2
MinJobAge=300
KillWait=5
NodeName=$host NodeAddr=127.0.0.1 CPUs=$(nproc) RealMemory=1024 State=UNKNOWN
PartitionName=all Nodes=$host Default=YES MaxTime=INFINITE State=UP
END
export SLURM_CONF=$work/slurm.conf
slurmctld -c >/dev/null 2>&1 || skip "slurmctld does not start"
slurmd >/dev/null 2>&1 || skip "slurmd does not start"
for _ in $(seq 60); do
  sinfo -h -o %T 2>/dev/null | grep -q idle && break
  sleep 0.5
done
sinfo -h -o %T | grep -q idle || skip "the node does not come up"
say "one node with $(nproc) processors is up"

# --- the scenes ---
mkdir "$work/scenes"
for i in $(seq -w $scenes); do cp examples/scenes/s1a_iw1_slc_quebec.pool "$work/scenes/$i.pool"; done
for i in $(seq $spoiled); do
  victim=$(printf '%04d' $((i * 251)))
  sed -i 's/"right"/"up"/' "$work/scenes/$victim.pool"
  echo "$work/scenes/$victim.pool"
done | sort >"$work/expected_failures"
find "$work/scenes" -name '*.pool' | sort >"$work/list"

# --- for comparison: a plain loop over some scenes on as many processors, before the array and after
# it, since other programs may use the machine too ---
loop_scenes=400
loop_seconds=0
run_loop() { # run_loop FOLDER
  mkdir "$1"
  cp $(head -n $loop_scenes "$work/list") "$1"
  local start
  start=$(date +%s.%N)
  find "$1" -name '*.pool' -printf '%f\n' | sed 's/[.]pool$//' |
    xargs -P "$(nproc)" -I{} "$build/app/quellmark" -pid {} -status "$1" \
      -lfn "$1/{}.log" -lsl ALARM -log_pp "$1/{}.log_pool" -USE_DEM false \
      -SCENE_POOL "$1/{}.pool" >/dev/null 2>&1 || true
  loop_seconds=$(awk -v l="$loop_seconds" -v s="$start" -v e="$(date +%s.%N)" 'BEGIN { print l + e - s }')
  [ "$(find "$1" -name 'OK.*' | wc -l)" -ge $((loop_scenes - spoiled)) ] || fail "the loop locates nothing"
}
run_loop "$work/loop_before"

# --- the array ---
export PATH=$build/toolbox/cli:$build/app:$PATH
cd "$work"
array_start=$(date +%s.%N)
job=$(sbatch --parsable --array=0-$((tasks - 1)) --export=ALL "$root/examples/cluster/quellmark.sbatch" "$work/list" "$work/out")
merge=$(sbatch --parsable --dependency="afterany:$job" --export=ALL --wrap "qmtool batch --merge --out $work/out")

# The scheduler ends one task as soon as it has located some scenes. Another one is killed without a
# warning, as memory limits do it. Both are requeued.
rows_of() { cat "$work/out/summary.$1-of-$tasks.csv" 2>/dev/null | wc -l; }
wait_for() { # wait_for WHAT CONDITION...
  local i
  for i in $(seq 300); do
    "${@:2}" && return
    sleep 0.1
  done
  fail "$1"
}
has_begun() { [ "$(rows_of "$1")" -gt 20 ]; }
process_of() { pgrep -f "^qmtool batch .*--part $1/$tasks" | head -n 1; }
has_ended() { [ -z "$(process_of "$1")" ]; }
is_out() { ! scontrol show job "${job}_$1" | grep -qE 'JobState=(RUNNING|COMPLETING)'; }
requeue() { # without the two minutes that a requeued task has to wait
  wait_for "task $1 does not end" is_out "$1"
  scontrol requeue "${job}_$1" || fail "task $1 can not be requeued"
  scontrol update JobId="${job}_$1" StartTime=now
}
wait_for "the first task does not start" has_begun 1
scancel --signal=KILL --full "${job}_0"
wait_for "the first task does not end" has_ended 1
say "task 0 was killed after $(($(rows_of 1) - 1)) scenes"
requeue 0
wait_for "the third task does not start" has_begun 3
kill -KILL "$(process_of 3)"
say "task 2 was killed after $(($(rows_of 3) - 1)) scenes"
requeue 2

# The node's daemon ends and is started again. Running steps must continue.
kill "$(cat "$work/slurmd.pid")"
for _ in $(seq 50); do [ -e "$work/slurmd.pid" ] && kill -0 "$(cat "$work/slurmd.pid")" 2>/dev/null || break; sleep 0.1; done
slurmd >/dev/null 2>&1
say "the node's daemon was started anew"

for _ in $(seq 600); do
  [ -z "$(squeue -h -j "$job,$merge" -o %i 2>/dev/null)" ] && break
  sleep 0.5
done
array_rate=$(awk -v n=$scenes -v s="$array_start" -v e="$(date +%s.%N)" 'BEGIN { print n / (e - s) }')
squeue -h -j "$job,$merge" -o '%i %T %r' | grep . && fail "jobs are left in the queue"

# --- the checks ---
[ -s out/summary.csv ] || fail "no merged summary"
located=$(grep -c ',located,' out/summary.csv || true)
[ "$located" -eq $((scenes - spoiled)) ] || fail "$located scenes are located, not $((scenes - spoiled))"
# A row spans two lines if a step that a kill had orphaned located the scene too.
twice=$(python3 -c '
import collections, csv
rows = collections.Counter(row[0] for row in csv.reader(open("out/summary.csv", newline="")))
print(*(scene for scene, count in rows.items() if count > 1))')
[ -z "$twice" ] || fail "scenes stand twice in the summary: $twice"
grep ',failed,' out/summary.csv | cut -d, -f1 | sort | cmp -s - expected_failures ||
  fail "other scenes failed than the spoiled ones"
while read -r pool; do
  grep -q '^center_longitude' "$pool" || { grep -qxF "$pool" expected_failures || fail "$pool holds no results"; }
done <list
entries=$(sed -n '/^software_names/,/}/p' out/log.pool | grep -c '"')
[ "$entries" -ge $((scenes - spoiled)) ] || fail "the log pool has $entries entries"
stray=$(find "$work/out" "$work/scenes" -type f | grep -vE "/scenes/[^/]*\.pool$|/scenes/[0-9a-f]{2}/[^/]*\.log$|/out/(summary|log)(\.[0-9]+-of-[0-9]+)?\.(csv|pool)$|/scenes/[0-9a-f]{2}/ERROR\." || true)
[ -z "$stray" ] || fail "stray files: $(head -n 5 <<<"$stray")"
[ "$(find out -name 'ERROR.*' | wc -l)" -eq $spoiled ] || fail "ERROR files other than those of the spoiled scenes"

run_loop "$work/loop_after"
loop_rate=$(awk -v n=$loop_scenes -v s="$loop_seconds" 'BEGIN { print 2 * n / s }')
ratio=$(awk -v a="$array_rate" -v l="$loop_rate" 'BEGIN { printf "%.2f", a / l }')
say "every scene was located once; $spoiled spoiled ones are reported; $entries log pool entries"
say "$(printf 'rate: %.0f scenes/s in the array, %.0f in a plain loop, ratio %s' \
  "$array_rate" "$loop_rate" "$ratio")"
if [ "$checks_rate" -eq 1 ]; then
  awk -v r="$ratio" 'BEGIN { exit !(r >= 0.8) }' || fail "the array is too slow"
fi
