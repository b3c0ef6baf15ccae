#!/bin/sh
# replay.sh PROGRAM ARGUMENT...: runs PROGRAM and suppresses what the library prints, but shows the last lines of
# standard error.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
"$@" >/dev/null 2>"$log"
status=$?
grep -v '^\[' "$log" | tail -n 40 >&2
exit $status
