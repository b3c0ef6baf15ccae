#!/bin/sh
# every_symbol.sh SYMBOLS TAGFILE: checks that each exported symbol is in the reference. Doxygen does not warn of symbols
# that are declared in a header without a @file comment.
set -eu
missing=$(while read -r _ symbol; do
  grep -q "<name>$symbol</name>" "$2" || echo "$symbol"
done <"$1")
[ -z "$missing" ] || { echo "not in the reference:" $missing >&2; exit 1; }
