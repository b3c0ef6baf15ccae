#!/bin/sh
# cluster_example.sh EXAMPLES COMMAND: runs the jobs of the cluster example as Slurm would start them, but without Slurm:
# one of them twice, one of them twice at the same time, and compares the result with that of a single run.
set -eu
examples=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/bin" "$folder/records"
ln -s "$2" "$folder/bin/dipx"
PATH=$folder/bin:$PATH
export PATH
cd "$folder"
for depth in 20 25 30 35 40 45 50 55; do dipx synth --rate 1600 --depth $depth -o records/dip_$depth.cfg; done

export SLURM_ARRAY_TASK_COUNT=3 SLURM_CPUS_PER_TASK=1
task() { SLURM_ARRAY_TASK_ID=$1 "$examples/slurm/add.sbatch" records parts >/dev/null; }
task 1
task 1
task 2 &
task 2
wait
task 3
"$examples/slurm/merge.sbatch" all.db parts >/dev/null
"$examples/slurm/merge.sbatch" all.db parts >/dev/null
dipx archive add whole.db records >/dev/null
dipx archive export all.db >all.csv
dipx archive export whole.db >whole.csv
[ "$(wc -l <whole.csv)" -eq 9 ] || { echo "the single run has other rows than expected"; exit 1; }
cmp all.csv whole.csv
[ "$(find parts -type f | wc -l)" -eq 3 ] || { echo "the parts hold other files: $(ls -A parts)"; exit 1; }
