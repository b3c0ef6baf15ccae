#!/bin/sh
# abi.sh [--keep]: compares the library's interface (symbols, functions and the types that they use) with that of the
# last release, tests/package/libdipx.abi. It fails if a host built for the last release would break, unless the SONAME
# has changed; additions pass. --keep replaces the description, which is part of a release (see CONTRIBUTING.md).
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh abigail-tools
kept=tests/package/libdipx.abi
# Types are known from debugging information, which the packages do not have.
cmake --preset package -B build/abi -DCMAKE_C_FLAGS=-g -DCMAKE_CXX_FLAGS=-g >/dev/null
cmake --build build/abi --target dipx >/dev/null
library=$(realpath build/abi/libdipx.so)
broken=$(mktemp)
trap 'rm -f "$broken"' EXIT
if [ "${1:-}" = --keep ]; then
  abidw --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-show-locs --type-id-style hash \
    --out-file "$kept" "$library"
  exit
fi
is_kept() { abidiff --no-added-syms "$1" "$library"; }

# must_break CHANGE makes sure that the comparison can fail: it must report a description that was changed like this.
must_break() {
  sed "$1" "$kept" >"$broken"
  ! cmp -s "$kept" "$broken" || { echo "abi.sh: '$1' changes nothing" >&2; exit 1; }
  ! is_kept "$broken" >/dev/null || { echo "abi.sh: '$1' passes for the same interface" >&2; exit 1; }
}
must_break "s/name='dipx_fun'/name='dipx_fun_of_old'/g"
must_break "/class-decl name='dipx_event_record'/,/<\/class-decl>/s/\(layout-offset-in-bits='\)8192'/\18224'/"

soname=$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
if ! grep -q "soname='$soname'" "$kept"; then
  echo "$soname is not the SONAME of the last release, so there is nothing to compare it with"
  exit
fi
is_kept "$kept" || {
  echo "abi.sh: hosts built for the last release would break; either undo this, or raise the major version" >&2
  exit 1
}
echo "$soname: the interface of the last release is kept"
