#!/bin/sh
# check.sh [PRESET...]: sets up, then builds each preset (release and asan by default) with warnings as errors and runs
# its tests: all except the soak test with the presets release and debug, only the quick ones with all others.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh chromium clang-16 fish groff libclang-rt-16-dev mandoc postgresql python3-jsonschema zsh \
  pybind11-dev python3-dev python3-matplotlib python3-numpy python3-pandas python3-pytest python3-setuptools python3-venv python3-wheel python3-xarray
[ $# -gt 0 ] || set -- release asan
for preset; do
  cmake --preset "$preset" -DDIPX_WARNINGS_AS_ERRORS=ON -DDIPX_BUILD_TESTS=ON -DDIPX_PAGE=ON -DDIPX_PYTHON=ON
  cmake --build --preset "$preset"
  case $preset in release | debug) kinds="-LE soak" ;; *) kinds="-L quick" ;; esac
  # shellcheck disable=SC2086  # two words or none
  ctest --preset "$preset" $kinds
done
