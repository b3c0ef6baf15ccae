#!/usr/bin/env bash
# fuzz.sh [--long | --keep] [NAME...]: builds the fuzzers (all of fuzz/, or the given ones) and runs each over its kept
# inputs, which takes seconds. --long continues with new inputs, ten million records and 280 thousand analyses in an hour
# of one core, and keeps those that reach new code in build/fuzz/corpus. --keep puts the smallest set of inputs that
# reaches as much into fuzz/seeds, one archive for each fuzzer. Any finding ends the run with an error and is saved in
# build/fuzz/findings. Once the fault is fixed, the input belongs in fuzz/regressions under a name that says what it
# found.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=kept
case ${1-} in
  --long | --keep) mode=${1#--} && shift ;;
esac
[ $# -gt 0 ] || set -- comtrade csv pqdif whole dipx_fun stages lists kernels
scripts/setup.sh clang libclang-rt-14-dev xz-utils
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${@/%/_fuzzer}" >/dev/null

# The number of inputs of a long run differs because readers are fast and analyses are slow.
runs_of() {
  case $1 in
    comtrade) echo 4000000 ;;
    csv) echo 6500000 ;;
    pqdif) echo 4000000 ;;
    whole) echo 1000000 ;;
    dipx_fun | stages) echo 80000 ;;
    *) echo 60000 ;;
  esac
}

# The smallest PQDIF file with a waveform is longer than what the other fuzzers need.
longest_of() {
  [ "$1" = pqdif ] && echo 4000 || echo 1000
}

# The whole way of a record has so many features that weighing inputs by their rarity would take most of the time.
scheduling_of() {
  [ "$1" != whole ] || echo "-entropic=0 -len_control=0"
}

# How often each place of the whole way is reached would tell apart four times as many inputs.
keeping_of() {
  [ "$1" != whole ] || echo "-use_counters=0"
}

# Records allocate many small blocks, and less bookkeeping for them makes a run considerably faster.
export ASAN_OPTIONS=malloc_context_size=2:quarantine_size_mb=16
root=$PWD
learnt=$root/build/fuzz/corpus
findings=$root/build/fuzz/findings
mkdir -p "$findings"
# The library writes its report into the current directory, and so do the fuzzers of readers their records. A directory
# in memory is fastest.
scratch=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
total=0
for name; do
  mkdir -p "$learnt/$name"
  seeds=("$root/build/fuzz/fuzz/seeds/$name")
  for more in "$root/fuzz/regressions/$name" "$root/fuzz/records/$name"; do
    [ ! -e "$more" ] || seeds+=("$more")
  done
  options=(-close_fd_mask=1 -max_len="$(longest_of "$name")" -timeout=120 -artifact_prefix="$findings/$name-" -print_final_stats=1)
  [ ! -e "$root/fuzz/$name.dict" ] || options+=(-dict="$root/fuzz/$name.dict")
  case $mode in
    kept) options+=(-runs=0 "${seeds[@]}") ;;
    long) options+=($(scheduling_of "$name") -runs="$(runs_of "$name")" "$learnt/$name" "${seeds[@]}") ;;
    keep)
      mkdir fewest
      options+=(-set_cover_merge=1 $(keeping_of "$name") fewest "${seeds[@]}" "$learnt/$name")
      ;;
  esac
  "$root/build/fuzz/fuzz/${name}_fuzzer" "${options[@]}" >"$findings/$name.log" 2>&1 || {
    tail -n 40 "$findings/$name.log" >&2
    echo "fuzz.sh: the $name fuzzer has a finding, see $findings" >&2
    exit 1
  }
  if [ "$mode" = keep ]; then
    # These options make archives of equal inputs equal.
    (cd fewest && LC_ALL=C ls | tar --create --files-from=- --format=ustar --mtime=@0 --owner=0 --group=0 --numeric-owner \
      --mode=u=rw,go=r) | xz -9e >"$root/fuzz/seeds/$name.tar.xz"
    echo "$name: $(ls fewest | wc -l) inputs, $(stat -c %s "$root/fuzz/seeds/$name.tar.xz") bytes"
    rm -rf fewest
    continue
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$findings/$name.log")
  [ -n "$runs" ] || { echo "fuzz.sh: the $name fuzzer does not report its number of runs" >&2; exit 1; }
  echo "$name: $runs executions"
  total=$((total + runs))
done
[ "$mode" = keep ] || echo "$total executions, no findings"
