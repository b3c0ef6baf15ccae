#!/bin/sh
# reader_host.sh PREFIX EXAMPLES DIPX: the example host of the readers builds without a warning against the installed
# tree, prints the events that the command finds in a COMTRADE record and in a CSV file, and says what is wrong with a
# file that it cannot read. Where a library that the readers use is missing, the package says so, and still serves hosts
# that do not read.
set -eu
prefix=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake -G Ninja -S "$2/readers" -B "$folder" -DCMAKE_PREFIX_PATH="$1" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_FLAGS='-Wall -Wextra -pedantic -Werror'
cmake --build "$folder"
for record in "$2/rte_08_volts.csv" "$2/rte_00.cfg"; do
  "$folder/record_events" "$record" >"$folder/printed"
  cat "$folder/printed"
  [ "$(wc -l <"$folder/printed")" -ge 1 ]
  "$3" analyse --json "$record" | python3 -c '
import json, sys
for event in json.load(sys.stdin)["events"]:
    end = event["end"]
    print(event["kind"].replace("_", " "), "from %.4f s" % event["start"]["time_s"],
          "to the end of the record" if end is None else "to %.4f s" % end["time_s"])' >"$folder/expected"
  diff "$folder/expected" "$folder/printed"
done
if "$folder/record_events" "$folder/printed" 2>"$folder/complaint"; then
  echo "a file that is not a record was read"
  exit 1
fi
grep -q '^record_events: .*printed' "$folder/complaint"

without_fmt() { cmake -G Ninja -S "$1" -B "$folder/without" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_DISABLE_FIND_PACKAGE_fmt=ON; }
if without_fmt "$2/readers" >"$folder/complaint" 2>&1; then
  echo "the package does not notice that fmt is missing"
  exit 1
fi
grep -q 'dipx::readers needs fmt::fmt' "$folder/complaint"
rm -rf "$folder/without"
without_fmt "$2/measure" >/dev/null 2>&1
