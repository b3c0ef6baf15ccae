#!/bin/sh
# packages.sh [FOLDER]: sets up, then makes the Debian packages in FOLDER (build/package/packages by default). The same
# sources give the same bits, whatever folder they are in.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh dpkg-dev file pybind11-dev python3-dev
folder=$(realpath -m "${1:-build/package/packages}")
SOURCE_DATE_EPOCH=$(date -u -d "$(sed -n 's/^## .*, \(....-..-..\)$/\1/p' CHANGELOG.md | head -n 1)" +%s)
export SOURCE_DATE_EPOCH
cmake --preset package -DDIPX_WARNINGS_AS_ERRORS=ON -DDIPX_PAGE=ON -DDIPX_PYTHON=ON
cmake --build --preset package
rm -rf "$folder"
cpack --preset package -B "$folder"
rm -rf "$folder/_CPack_Packages"
