#!/bin/sh
# format.sh [--check]: formats every C and C++ file, or reports the files that are not formatted.
set -eu
cd "$(dirname "$0")/.."
if [ "${1:-}" = --check ]; then
  git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
else
  git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format -i
fi
