#!/bin/sh
# second_compiler.sh: builds the embedded and the measuring library with Clang, optimised as released, and runs their
# quick tests, which compare every optimised kernel with its plain form. That Clang compiles all other sources without a
# warning is shown by the build for the sanitizers, see check.sh.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh clang-16
cmake --preset clang -DDIPX_WARNINGS_AS_ERRORS=ON -DDIPX_BUILD_TESTS=ON >/dev/null
cmake --build --preset clang --target dipx_test measure_test
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
root=$PWD
cd "$scratch"
"$root/build/clang/tests/core/dipx_test" --gtest_brief=1 '--gtest_filter=-AMillion*'
"$root/build/clang/tests/measure/measure_test" --gtest_brief=1
