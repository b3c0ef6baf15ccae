#!/bin/sh
# docs.sh: sets up, then makes the API reference, build/release/docs/html/index.html, from the public headers. Fails on
# anything that they leave undocumented.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh doxygen
cmake --preset release
cmake --build --preset release --target docs
