#!/bin/sh
# aarch64.sh: builds the library and the command for 64-bit ARM, runs them under emulation, and checks that they give the
# same bytes as the build for this machine: JSON documents, reports and printed text of the examples, of the dips of the
# self-test and of a hundred made records, and the records that a host gets.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh g++-aarch64-linux-gnu qemu-user libcsv-dev:arm64 libfmt-dev:arm64 libzip-dev:arm64 zlib1g-dev:arm64 \
  libsqlite3-dev:arm64 nettle-dev:arm64
for preset in release aarch64; do
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" --target dipx dipx_command >/dev/null
done
root=$PWD
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# here PROGRAM ARGUMENT... and there PROGRAM ARGUMENT... run a program of either build.
here() { program=$1 && shift && "$root/build/release/$program" "$@"; }
there() { program=$1 && shift && qemu-aarch64 "$root/build/aarch64/$program" "$@"; }

# --- records ---------------------------------------------------------------------------------------------------------

mkdir "$scratch/records"
cd "$scratch/records"
cp "$root"/examples/rte_* .
count=0
# make OPTION... makes a record, on this machine alone.
make() {
  count=$((count + 1))
  here command/dipx synth "$@" -o "made_$count.csv"
}

# The dips of the self-test.
make --depth 0
make --phases A --depth 60
make --phases B --depth 40 --duration 0.1
make --phases C --depth 80 --duration 0.5
make --phases B-C --depth 40
make --phases C-A --depth 30
make --phases A-B --depth 45
make --phases BC --depth 50
make --phases CA --depth 70
make --phases AB --depth 30
make --depth 50
make --depth 99
make --phases A --depth 50 --jump=-25
make --depth 30,60 --duration 0.4,0.4
make --phases A --depth 60 --voltage 63509
make --phases BC --depth 50 --frequency 60 --rate 3840 --voltage 120
make --depth 50 --noise 0.3 --harmonics 5:2,7:1
make --phases A --depth 40 --duration 15 --rate 1600
make --phases BC --depth 50 --rate 400
make --phases A,AB,ABC --depth 50,55,65 --duration 0.1,0.1,0.2
make --phases ABC,A --depth 70,30 --duration 0.1,0.15
make --depth 50 --duration 0.3 --fall 0.2
make --depth 60 --recovery 0.3
make --phases A --depth 60 --duration 1 --deviation=-0.4
make --depth 12

# A hundred more. The numbers look random but are the same in each run.
number=1
# draw FROM TO sets `drawn` to the next whole number of the range.
draw() {
  number=$(((number * 1103515245 + 12345) % 2147483648))
  drawn=$(($1 + number / 65536 % ($2 - $1 + 1)))
}
for _ in $(seq 100); do
  draw 0 6 && phases=$(echo A B C AB B-C C-A ABC | cut -d ' ' -f $((drawn + 1)))
  # Two phases that move towards each other fall by a half at most, and their jump follows.
  case $phases in *-*) deepest=49 steepest=0 ;; *) deepest=95 steepest=30 ;; esac
  draw 12 "$deepest" && depth=$drawn
  draw 20 900 && duration=$drawn
  draw 0 359 && point=$drawn
  draw "-$steepest" "$steepest" && jump=$drawn
  draw 0 60 && fall=$drawn
  draw 0 150 && recovery=$drawn
  draw 0 9 && noise=$drawn
  draw -3 3 && deviation=$drawn
  draw 0 3 && rate=$(echo 1600 3200 6400 5000 | cut -d ' ' -f $((drawn + 1)))
  make --phases "$phases" --depth "$depth" --duration "$(printf '0.%03d' "$duration")" --point-on-wave "$point" \
    --jump="$jump" --fall "$(printf '0.%03d' "$fall")" --recovery "$(printf '0.%03d' "$recovery")" --noise "0.$noise" \
    --deviation="$(echo "$deviation" | sed 's/[0-9]/0.&/')" --harmonics 5:2,7:1 --rate "$rate" --seed "$number"
done

# --- comparison ------------------------------------------------------------------------------------------------------

# analyse here|there RECORD... writes all results of records.
analyse() {
  where=$1
  shift
  for record; do
    results=$scratch/$where/$record
    # A refused record has a message to compare.
    $where command/dipx analyse --json --library --report "$results.report" "$record" >"$results.library.json" 2>&1 || true
    # The time that the analysis took is in its third line.
    if [ -f "$results.report" ]; then sed -i 3d "$results.report"; fi
    $where command/dipx analyse --json "$record" >"$results.json" 2>&1 || true
    # The text has the same figures, so a few of them suffice for its own rounding.
    case $record in *[1-9][0-9].csv) continue ;; esac
    $where command/dipx analyse "$record" >"$results.txt" 2>&1 || true
  done
}
mkdir "$scratch/here" "$scratch/there"
analyse here rte_*.c* made_*.csv
here command/dipx selftest >"$scratch/here/selftest"
# The emulator is slow, so this uses two processors.
analyse there made_*[02468].csv &
half=$!
analyse there rte_*.c* made_*[13579].csv
there command/dipx selftest >"$scratch/there/selftest"
wait "$half"
cc "$root/tests/package/record_bytes.c" -I "$root" -L "$root/build/release" -ldipx -o "$scratch/record_bytes_here"
aarch64-linux-gnu-gcc "$root/tests/package/record_bytes.c" -I "$root" -L "$root/build/aarch64" -ldipx \
  -o "$scratch/record_bytes_there"
for rate in 32 128; do
  LD_LIBRARY_PATH=$root/build/release "$scratch/record_bytes_here" "$scratch/here/host_$rate" $rate made_*[05].csv \
    >/dev/null
  qemu-aarch64 -E "LD_LIBRARY_PATH=$root/build/aarch64" "$scratch/record_bytes_there" "$scratch/there/host_$rate" $rate \
    made_*[05].csv >/dev/null
done

differing=0
compared=0
for result in "$scratch"/here/*; do
  compared=$((compared + 1))
  cmp -s "$result" "$scratch/there/${result##*/}" && continue
  differing=$((differing + 1))
  echo "aarch64.sh: ${result##*/} differs:" >&2
  diff "$result" "$scratch/there/${result##*/}" | head -n 6 >&2 || true
done
echo "aarch64: $compared results of $(find . -name '*.c[fs][gv]' | wc -l) records compared, $differing differ"
[ "$differing" -eq 0 ]
