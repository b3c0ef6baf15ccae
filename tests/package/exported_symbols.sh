#!/bin/sh
# exported_symbols.sh LIBRARY LIST: the shared object exports the names in LIST, with their kinds, and nothing else.
set -eu
LC_ALL=C
export LC_ALL
nm -D --defined-only "$1" | awk '{ print $(NF - 1), $NF }' | sort | diff -u "$2" -
readelf -d "$1" | grep -q 'SONAME.*\[libdipx\.so\.1\]' || { echo "SONAME is not libdipx.so.1"; exit 1; }
needed=$(readelf -d "$1" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | grep -v -E '^(libstdc\+\+|libm|libgcc_s|libc)\.so' || true)
[ -z "$needed" ] || { echo "the library needs more than the standard libraries: $needed"; exit 1; }
