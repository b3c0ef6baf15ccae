#!/bin/sh
# host_examples.sh PREFIX LIBDIR CC CXX EXAMPLES: the example hosts build without a warning against the installed tree and
# print the dips that their records hold.
set -eu
prefix=$1 libdir=$2 cc=$3 cxx=$4 examples=$5
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
LD_LIBRARY_PATH=$prefix/$libdir
export PKG_CONFIG_PATH LD_LIBRARY_PATH
flags=$(pkg-config --cflags --libs dipx)
# shellcheck disable=SC2086  # flags are words
$cc -std=c11 -Wall -Wextra -pedantic -Werror "$examples/hosts/record_host.c" -o "$folder/record_host" $flags
# shellcheck disable=SC2086
$cxx -std=c++17 -Wall -Wextra -pedantic -Werror -pthread "$examples/hosts/threaded_host.cpp" -o "$folder/threaded_host" \
  $flags
cd "$folder"
./record_host "$examples/rte_08_volts.csv" 128 900 2>printed >/dev/null
cat printed
[ "$(wc -l <printed)" -eq 2 ]
grep -qx 'dip 1: 88.4 ms, begins 318 degrees on the wave of phase A' printed
grep -qx '  segment 1, 0.3259 s to 0.3714 s: category 9, 27.36 27.58 24.71 kV, unbalance 19.4 %' printed
[ -s dipx_result.txt ]
python3 "$examples/hosts/record_host.py" "$examples/rte_08_volts.csv" 128 900 2>printed >/dev/null
cat printed
[ "$(cat printed)" = '88.4 ms, lowest voltage of each segment: 24.71 kV' ]
./threaded_host 2>&1 >/dev/null | grep -v '^\[SAGX\]' >printed
cat printed
[ "$(wc -l <printed)" -eq 2 ]
grep -q '^record 1: 0.40.* 69.0 V deep, 1 segments, category 3$' printed
grep -q '^record 2: 0.40.* 138.0 V deep, 1 segments, category 3$' printed
