#!/bin/sh
# headers.sh PREFIX CC CXX: each installed header compiles on its own without a warning: those of the embedded library
# as C11 and as C++ from 17 on, those of the measuring library and of the readers as C++20.
set -eu
include=$1/include
cd "$include"
count=0
for header in dipx_dll.h sagx/*.h; do
  for language in "$2 -x c -std=c11" "$3 -x c++ -std=c++17" "$3 -x c++ -std=c++20"; do
    printf '#include <%s>\n#include <%s>\nint main(void) { return 0; }\n' "$header" "$header" |
      $language -Wall -Wextra -pedantic -Werror -I"$include" -fsyntax-only -
    count=$((count + 1))
  done
done
for header in measure/*.h readers/*.h readers/voltages/*.h; do
  printf '#include <%s>\n#include <%s>\nint main() { return 0; }\n' "$header" "$header" |
    $3 -x c++ -std=c++20 -Wall -Wextra -Wshadow -Wconversion -pedantic -Werror -I"$include" -fsyntax-only -
  count=$((count + 1))
done
[ "$count" -ge 63 ] || { echo "there were only $count compilations, so headers are missing"; exit 1; }
