#!/bin/sh
# abi.sh [--keep]: holds the library's interface (symbols, functions, types of the public headers) against that of the
# last release, tests/package/libdipx.abi. What a host built for it can no longer rely on fails, unless the SONAME has
# moved on; what is added passes. --keep writes the description anew: part of a release, see CONTRIBUTING.md.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh abigail-tools
kept=tests/package/libdipx.abi
cmake --preset package >/dev/null
cmake --build --preset package --target dipx >/dev/null
library=$(realpath build/package/libdipx.so)
headers=$(mktemp -d)
trap 'rm -rf "$headers"' EXIT
cmake --install build/package --component development --prefix "$headers" >/dev/null
if [ "${1:-}" = --keep ]; then
  abidw --headers-dir "$headers/include" --drop-private-types --no-corpus-path --no-comp-dir-path --no-show-locs --exported-interfaces-only \
    --type-id-style hash --out-file "$kept" "$library"
  exit
fi
holds() { abidiff --headers-dir2 "$headers/include" --drop-private-types --no-added-syms "$1" "$library"; }

# A check that cannot fail says nothing: it has to miss a function, and to see a member move.
sed "s/name='dipx_fun'/name='dipx_fun_of_old'/g" "$kept" >"$headers/without.abi"
sed "/class-decl name='dipx_event_record'/,/<\/class-decl>/s/\(layout-offset-in-bits='\)8192'/\18224'/" \
  "$kept" >"$headers/moved.abi"
for broken in without moved; do
  ! cmp -s "$kept" "$headers/$broken.abi" || { echo "abi.sh: $broken.abi is no other interface" >&2; exit 1; }
  ! holds "$headers/$broken.abi" >/dev/null || { echo "abi.sh: $broken.abi passes for the same interface" >&2; exit 1; }
done

soname=$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
if ! grep -q "soname='$soname'" "$kept"; then
  echo "$soname is not the SONAME of the last release: nothing to hold it against"
  exit
fi
holds "$kept" || {
  echo "abi.sh: hosts built for the last release would break; either undo this, or raise the major version" >&2
  exit 1
}
echo "$soname: the interface of the last release holds"
