#!/bin/sh
# hardening_cost.sh: measures the cost of the hardening: whole analyses by the library without it (A) and with it (B).
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target dipx dipx_library_cost >/dev/null
cmake --preset release -B build/unhardened -DDIPX_HARDENED=OFF >/dev/null
cmake --build build/unhardened --target dipx >/dev/null
build/release/bench/dipx_library_cost "$PWD/build/unhardened/libdipx.so" "$PWD/build/release/libdipx.so"
