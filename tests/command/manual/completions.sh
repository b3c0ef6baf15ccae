#!/bin/sh
# completions.sh CANDIDATES PAGES COMMAND: what a shell offers, CANDIDATES being the script that asks it, PAGES the folder
# of its completion and COMMAND the built command.
set -eu
candidates=$1
pages=$2
command=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
mkdir records
: >fault.cfg
: >records/fault.dat
: >records/fault.cfg
failed=0

# offers EXPECTED WORD...: the candidates in alphabetical order, without their folders.
offers() {
  expected=$1
  shift
  found=$(timeout 30 "$candidates" "$pages" "$@" | sed -e 's|/$||' -e 's|.*/||' | LC_ALL=C sort -u | tr '\n' ' ')
  [ "${found% }" = "$expected" ] && return
  echo "$* is offered '${found% }' instead of '$expected'"
  failed=1
}

offers 'analyse analyze' dipx ana
offers '--version' dipx --v
offers '--report' dipx analyse --repo
offers '--report' dipx analyze fault.cfg --repo
offers 'fault.cfg' dipx analyse fau
offers 'fault.cfg fault.dat' dipx analyse records/fau
offers 'fault.cfg' dipx analyse --report fau
offers 'fault.cfg' dipx analyse --report=fau
offers 'records' dipx synth -o rec
offers '' dipx analyse --channels fau
offers '' dipx synth fau
offers 'cff cfg csv' dipx synth --format c
offers 'cff cfg' dipx synth --format=cf
offers 'declared pre-event sliding' dipx analyse --reference ''
offers 'swell' dipx analyse --fail-on=s
offers 'fault.cfg' dipx analyse --options fau
offers '--dip-threshold' dipx analyse --dip
offers '' dipx unknown --re

# Everything that --help lists is offered, under its own subcommand.
count=0
for subcommand in $("$command" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]*\)[ ,].*/\1/p'); do
  offered=$(timeout 30 "$candidates" "$pages" dipx "$subcommand" --)
  for option in $("$command" "$subcommand" --help | grep -oE '^ +(-[a-z],)?--[a-z-]+' | sed 's/.*--/--/'); do
    echo "$offered" | grep -qx -e "$option" || {
      echo "dipx $subcommand $option is not offered"
      failed=1
    }
    count=$((count + 1))
  done
done
[ "$count" -ge 25 ] || { echo "only $count options asked for"; failed=1; }
exit $failed
