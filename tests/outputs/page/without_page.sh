#!/bin/sh
# without_page.sh DIPX RECORD: a command built without uPlot works, less --html.
set -eu
"$1" analyse "$2" --json | grep -q '"format": "dipx analysis"'
"$1" analyse --help | grep -q -e --svg
! "$1" analyse --help | grep -q -e --html
status=0
"$1" analyse "$2" --html /dev/null >/dev/null 2>&1 || status=$?
test "$status" -eq 1
