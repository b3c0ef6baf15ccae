#!/bin/sh
# docs.sh: sets up, then makes the API reference, build/release/docs/html/index.html, from the public headers. Fails if
# they leave anything undocumented.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh doxygen
cmake --preset release
cmake --build --preset release --target docs
