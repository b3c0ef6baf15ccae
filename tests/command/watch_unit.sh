#!/bin/sh
# watch_unit.sh UNIT PAGE COMMAND: has systemd check the unit of dipx watch, alone and with each drop-in of the page, and
# checks that it leaves the service little to abuse. Skipped with status 77 without systemd-analyze.
set -eu
unit=$1
page=$2
command=$3
command -v systemd-analyze >/dev/null || { echo "needs systemd-analyze"; exit 77; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# verify: fails if systemd has anything to say. It wants the command to be there.
verify() {
  rm -rf "$folder/units"
  mkdir "$folder/units"
  sed "s|/usr/bin/dipx |$command |" "$unit" >"$folder/units/dipx-watch.service"
  if [ $# -gt 0 ]; then
    mkdir "$folder/units/dipx-watch.service.d"
    cp "$1" "$folder/units/dipx-watch.service.d/"
  fi
  complaints=$(systemd-analyze verify --man=no "$folder/units/dipx-watch.service" 2>&1) || { echo "$complaints"; exit 1; }
  [ -z "$complaints" ] || { echo "$complaints"; exit 1; }
}
verify
awk -v folder="$folder" '/^```ini$/ { number++; inside = 1; next } /^```$/ { inside = 0 }
  inside { print >(folder "/drop-in-" number ".conf") }' "$page"
[ -e "$folder/drop-in-2.conf" ] || { echo "the page has other drop-ins than expected"; exit 1; }
for drop_in in "$folder"/drop-in-*.conf; do verify "$drop_in"; done
# The check itself notices a drop-in that is wrong.
printf '[Service]\nRestrictAddressFamilies=AF_NONSENSE\n' >"$folder/wrong.conf"
(verify "$folder/wrong.conf") >/dev/null && { echo "drop-ins are not checked"; exit 1; }

# Version 252 rates the unit 0.7 of 10; 2 is the limit of what systemd calls "OK" rather than "SAFE".
verify
systemd-analyze security --offline=yes --threshold=20 "$folder/units/dipx-watch.service" >"$folder/rating" 2>&1 ||
  { cat "$folder/rating"; exit 1; }
