#!/bin/sh
# format.sh [--check]: brings every C and C++ file into the project's form, or says which are not in it.
set -eu
cd "$(dirname "$0")/.."
if [ "${1:-}" = --check ]; then
  git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
else
  git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format -i
fi
