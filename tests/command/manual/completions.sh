#!/bin/sh
# completions.sh CANDIDATES PAGES COMMAND: tests the candidates that a shell offers. CANDIDATES is the script that asks
# the shell, PAGES the folder of its completion, and COMMAND the built command.
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
offers '--health' dipx watch --hea
offers 'declared pre-event sliding' dipx analyse --reference ''
offers 'swell' dipx analyse --fail-on=s
offers 'fault.cfg' dipx analyse --options fau
offers '--dip-threshold' dipx analyse --dip
offers '' dipx unknown --re
offers 'add' dipx archive a
offers '--jobs' dipx archive add --jo
offers '--segments' dipx archive export --seg
offers 'fault.cfg' dipx archive add records/fault.dat records/fault.c
offers 'csv' dipx archive export --format=c
offers '' dipx archive unknown --se

# Everything that --help lists is offered, under its own subcommand.
count=0
subcommands=$("$command" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\)[ ,].*/\1/p')
of_archive=$("$command" archive --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\)[ ,].*/archive-\1/p')
for name in $subcommands $of_archive; do
  subcommand=$(echo "$name" | tr '-' ' ')
  # shellcheck disable=SC2086  # one word or two
  offered=$(timeout 30 "$candidates" "$pages" dipx $subcommand --)
  # shellcheck disable=SC2086
  for option in $("$command" $subcommand --help | grep -oE '^ +(-[a-z],)?--[a-z-]+' | sed 's/.*--/--/'); do
    echo "$offered" | grep -qx -e "$option" || {
      echo "dipx $subcommand $option is not offered"
      failed=1
    }
    count=$((count + 1))
  done
done
[ "$count" -ge 25 ] || { echo "only $count options asked for"; failed=1; }
exit $failed
