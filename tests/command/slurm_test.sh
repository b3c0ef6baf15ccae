#!/bin/bash
# slurm_test.sh EXAMPLES COMMAND: runs the jobs of the cluster example on a real Slurm with three nodes, all of them on
# this machine and in a temporary folder. Of three tasks in the middle of their work, one loses its node, and one loses
# only its slurmd, so that it lives on while Slurm starts it a second time. The merged rows must be those of a single
# run. Skipped with status 77 where Slurm is not installed (Debian: slurmctld slurmd slurm-client munge).
set -u
examples=$1
command=$2
for program in slurmctld slurmd sbatch munged mungekey; do
  PATH=$PATH:/usr/sbin command -v $program >/dev/null || { echo "needs Slurm: $program is not installed"; exit 77; }
done
PATH=$PATH:/usr/sbin
folder=$(mktemp -d)
chmod 755 "$folder"
cd "$folder" || exit 1
declare -A slurmd
others=()
chains=()

# stop: ends whatever the test has started, by the numbers of the processes, and removes the folder.
stop() {
  touch go.1 go.2 go.3
  scancel --user="$(id -un)" 2>/dev/null
  for process in "${slurmd[@]}" "${others[@]}" "${chains[@]}"; do kill -KILL "$process" 2>/dev/null; done
  wait 2>/dev/null
  rm -rf "$folder"
}
trap stop EXIT

fail() {
  exec >&2
  echo "$*"
  for log in log/slurmctld log/out.*; do echo "--- $log"; tail -n 30 "$log"; done
  squeue --array --long
  sinfo --Node
  exit 1
}

# until_true SECONDS WHAT COMMAND...: waits until the command succeeds.
until_true() {
  local left=$(($1 * 5)) what=$2
  shift 2
  until "$@"; do
    left=$((left - 1))
    [ $left -gt 0 ] || fail "waited too long until $what"
    sleep 0.2
  done
}

# --- the cluster -----------------------------------------------------------------------------------------------------

mkdir bin log state records parts
host=$(hostname -s)
user=$(id -un)
port=$((20000 + $$ % 3000 * 4))
mungekey --create --keyfile="$folder/munge.key"
munged --foreground --force --num-threads=2 --key-file="$folder/munge.key" --socket="$folder/munge.socket" \
  --pid-file="$folder/munge.pid" --seed-file="$folder/munge.seed" --log-file="$folder/log/munge" >log/munge.out 2>&1 &
others+=($!)
cat >slurm.conf <<END
ClusterName=dipx
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$port
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$folder/munge.socket
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/state/%n
SlurmctldPidFile=$folder/state/slurmctld.pid
SlurmdPidFile=$folder/state/%n.pid
SlurmctldLogFile=$folder/log/slurmctld
SlurmdLogFile=$folder/log/%n
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerParameters=sched_interval=2,batch_sched_delay=1
SlurmdParameters=config_overrides
SlurmdTimeout=6
ReturnToService=2
KillWait=2
NodeName=n[1-3] NodeHostname=$host NodeAddr=127.0.0.1 Port=$((port + 1))-$((port + 3)) CPUs=4 RealMemory=9000
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
END
cat >cgroup.conf <<END
CgroupPlugin=cgroup/v1
END
export SLURM_CONF=$folder/slurm.conf
until_true 30 "munge answers" test -S munge.socket
slurmctld -D >log/slurmctld.out 2>&1 &
others+=($!)
for node in n1 n2 n3; do
  mkdir "state/$node"
  slurmd -D -N $node >"log/$node.out" 2>&1 &
  slurmd[$node]=$!
done
three_are_idle() { [ "$(sinfo --noheader --Node --states=idle --format=%N 2>/dev/null | sort -u | wc -l)" -eq 3 ]; }
until_true 60 "three nodes are idle" three_are_idle

# --- the records and the command -------------------------------------------------------------------------------------

mkdir records/first records/rest
for i in $(seq 24); do
  "$command" synth --rate 1600 --depth $((20 + 3 * i)) -o "records/$([ $((i % 2)) = 0 ] && echo first || echo rest)/r$i.cfg"
done
# In the first run of a task the command stops in the middle of its work until the test lets it continue.
cat >bin/dipx <<END
#!/bin/sh
# dipx archive add DB RECORDS --shard K/N --jobs J
if [ "\$2" = add ] && [ -z "\${SLURM_RESTART_COUNT:-}" ]; then
  $command archive add "\$3" "\$4/first" --shard "\$6" --jobs 1 >/dev/null
  echo "\$SLURMD_NODENAME \$SLURM_JOB_ID \$\$" >"$folder/half.tmp.\$\$"
  mv "$folder/half.tmp.\$\$" "$folder/half.\$SLURM_ARRAY_TASK_ID"
  while [ ! -e "$folder/go.\$SLURM_ARRAY_TASK_ID" ]; do sleep 0.1; done
fi
[ "\$2" != add ] || [ -z "\${SLURM_RESTART_COUNT:-}" ] || touch "$folder/again.\$SLURM_ARRAY_TASK_ID"
exec $command "\$@"
END
chmod +x bin/dipx
export PATH=$folder/bin:$PATH

# --- the jobs --------------------------------------------------------------------------------------------------------

array=$(sbatch --parsable --array=1-3 --output="$folder/log/out.%a" "$examples/slurm/add.sbatch" "$folder/records" \
  "$folder/parts") || fail "the array cannot be submitted"
sbatch --parsable --dependency=afterok:"$array" --output="$folder/log/out.merge" "$examples/slurm/merge.sbatch" \
  "$folder/all.db" "$folder/parts" >/dev/null || fail "the merge cannot be submitted"
all_half() { [ -e half.1 ] && [ -e half.2 ] && [ -e half.3 ]; }
until_true 60 "all tasks are in the middle of their work" all_half

# chain PROCESS: prints a process, the job's script that has started it, and the slurmstepd of that script.
chain() {
  local script stepd
  script=$(awk '{ print $4 }' "/proc/$1/stat")
  stepd=$(awk '{ print $4 }' "/proc/$script/stat")
  grep -q slurmstepd "/proc/$stepd/comm" || fail "process $stepd is not a slurmstepd"
  echo "$1 $script $stepd"
}
read -r node_1 job_1 process_1 <half.1
read -r node_2 job_2 process_2 <half.2
read -r _ _ process_3 <half.3
lost=$(chain "$process_1") || exit 1
orphan=$(chain "$process_2") || exit 1
third=$(chain "$process_3") || exit 1
read -r -a chains <<<"$lost $orphan $third"
[ "$node_1" != "$node_2" ] || fail "two tasks are on the same node"

# shellcheck disable=SC2086  # a list of processes
kill -KILL "${slurmd[$node_1]}" $lost
kill -KILL "${slurmd[$node_2]}"
touch go.3
echo "node $node_1 was killed with its task, and the slurmd of $node_2 without it"

# Slurm waits for two minutes before it starts a task again; an operator need not.
starts_again() {
  scontrol update JobId="$1" StartTime=now >/dev/null 2>&1
  [ -e "again.$2" ]
}
until_true 120 "task 1 is started again" starts_again "$job_1" 1
until_true 120 "task 2 is started a second time" starts_again "$job_2" 2
# shellcheck disable=SC2086
kill -0 $orphan || fail "the first run of task 2 has ended before the second has begun"
touch go.1 go.2

queue_is_empty() { [ -z "$(squeue --noheader 2>/dev/null)" ]; }
until_true 120 "all jobs have ended" queue_is_empty
first_run_has_ended() { ! kill -0 "$process_2" 2>/dev/null; }
until_true 60 "the first run of task 2 has ended" first_run_has_ended

# --- the rows --------------------------------------------------------------------------------------------------------

[ -e all.db ] || fail "the parts were not merged"
"$command" archive add whole.db "$folder/records" >/dev/null
"$command" archive export all.db >all.csv
"$command" archive export whole.db >whole.csv
[ "$(wc -l <whole.csv)" -eq 25 ] || fail "the single run has other rows than expected"
cmp all.csv whole.csv || fail "the rows differ from those of a single run"
# What the orphan has delivered in the end has the same rows too.
"$command" archive merge late.db parts/*.db >/dev/null
"$command" archive export late.db | cmp - whole.csv || fail "the rows that were delivered last differ"
echo "24 records have the rows of a single run"
