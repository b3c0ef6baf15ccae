#!/bin/sh
# try.sh [RECORD]: sets up, builds the dipx command and analyses a record (the example by default), then prints the
# embedded library's own report of it.
set -eu
case ${1:-} in
  /*) record=$1 ;;
  ?*) record=$PWD/$1 ;;
  *) record= ;;
esac
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release
cmake --build --preset release --target dipx_command
report=$(mktemp)
trap 'rm -f "$report"' EXIT
echo
build/release/command/dipx analyse "${record:-examples/rte_00.cfg}" --report "$report"
printf '\nThe embedded library'"'"'s own report (converted from GBK to UTF-8):\n\n'
iconv -f GBK -t UTF-8 "$report"
