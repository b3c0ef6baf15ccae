#!/bin/sh
# hardened.sh COMPILER FILE...: each file has relocations that are resolved at the start and then read-only, guarded
# stacks and checked copies. Only GCC calls checked functions when the library prints; a build with Clang may contain
# none.
set -eu
compiler=$1
shift
for file; do
  headers=$(readelf -lW "$file")
  dynamic=$(readelf -dW "$file")
  symbols=$(nm -D --undefined-only "$file")
  for sign in "$headers|GNU_RELRO" "$dynamic|BIND_NOW|FLAGS_1.*NOW" "$symbols|__stack_chk_fail" "$symbols|_chk(@|$)"; do
    [ "$compiler" = GNU ] || [ "$sign" != "$symbols|_chk(@|$)" ] || continue
    printf '%s\n' "${sign%%|*}" | grep -qE "${sign#*|}" || { echo "$file: ${sign#*|} is missing"; exit 1; }
  done
  ! printf '%s\n' "$headers" | grep -qE 'GNU_STACK.*E' || { echo "$file: the stack is executable"; exit 1; }
done
