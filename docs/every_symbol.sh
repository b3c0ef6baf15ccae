#!/bin/sh
# every_symbol.sh SYMBOLS TAGFILE: each exported symbol stands in the reference. Doxygen itself says nothing of what a
# header without a @file comment declares.
set -eu
missing=$(while read -r _ symbol; do
  grep -q "<name>$symbol</name>" "$2" || echo "$symbol"
done <"$1")
[ -z "$missing" ] || { echo "not in the reference:" $missing >&2; exit 1; }
