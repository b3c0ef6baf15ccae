#!/bin/sh
# hijacking_host.sh PREFIX LIBDIR CC HOST.c LIST: a host defines functions with the names of all exported functions that
# it does not call. It still gets right results, because the library calls its own functions.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
{
  echo '#include <stdio.h>'
  echo '#include <stdlib.h>'
  awk '$1 == "T" && $2 != "dipx_fun" && $2 != "sagx_free_all" {
         print "void " $2 "(void); void " $2 "(void) { fputs(\"the library called the " \
               "host'"'"'s own " $2 "\\n\", stderr); exit(3); }" }' "$5"
} >"$folder/own_names.c"
count=$(grep -c '^void' "$folder/own_names.c")
[ "$count" -ge 9 ] || { echo "the host defines only $count names"; exit 1; }
$3 -std=c11 -rdynamic -I"$1/include" "$4" "$folder/own_names.c" -o "$folder/host" -L"$1/$2" -ldipx -lm
# The test proves something only if a lookup would find the host's names first.
nm -D --defined-only "$folder/host" | grep -q ' T rms_seg_pro$'
cd "$folder"
LD_LIBRARY_PATH=$1/$2 ./host
