#!/bin/sh
# cmake_host.sh PREFIX PROJECT: an outside CMake project finds the installed package, builds with it and runs.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake -G Ninja -S "$2" -B "$folder" -DCMAKE_PREFIX_PATH="$1"
cmake --build "$folder"
cd "$folder"
./host
