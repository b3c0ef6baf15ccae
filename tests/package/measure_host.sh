#!/bin/sh
# measure_host.sh PREFIX EXAMPLES: the example host of the measuring library builds without a warning against the
# installed tree and prints the events of its record.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake -G Ninja -S "$2/measure" -B "$folder" -DCMAKE_PREFIX_PATH="$1" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_FLAGS='-Wall -Wextra -pedantic -Werror'
cmake --build "$folder"
"$folder/measure_host" "$2/rte_08_volts.csv" >"$folder/printed"
cat "$folder/printed"
[ "$(wc -l <"$folder/printed")" -eq 2 ]
grep -qx 'dip from 0\.30.. s to 0\.43.. s, extreme 25\.17 kV' "$folder/printed"
[ "$(grep -cx '  segment from 0\.3.* s, type A: .* ± .* kV' "$folder/printed")" -eq 1 ]
