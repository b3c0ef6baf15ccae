#!/bin/sh
# check.sh [PRESET...]: sets up, then builds each preset (release and asan unless named) with warnings as errors and runs
# its tests.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh python3-jsonschema chromium
[ $# -gt 0 ] || set -- release asan
for preset; do
  cmake --preset "$preset" -DDIPX_WARNINGS_AS_ERRORS=ON -DDIPX_PAGE=ON
  cmake --build --preset "$preset"
  if [ "$preset" = asan ]; then ctest --preset asan -L quick; else ctest --preset "$preset"; fi
done
