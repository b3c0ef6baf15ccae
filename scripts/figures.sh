#!/bin/sh
# figures.sh [--check] [PAGE...]: regenerates every picture, quoted output and table of the documentation, or of the given
# pages, with the programs as they are built now. It takes a minute or two of processor time. --check changes nothing
# and reports differences, broken links and failing commands.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh chromium pkg-config python3 sqlite3 pybind11-dev python3-dev python3-matplotlib python3-numpy \
  python3-pandas python3-xarray
mode=
case ${1:-} in --check) mode=$1 && shift ;; esac
[ $# -gt 0 ] || set -- README.md CONTRIBUTING.md CHANGELOG.md examples/README.md docs/*.md
cmake --preset release -DDIPX_PAGE=ON -DDIPX_PYTHON=ON >/dev/null
cmake --build --preset release --target dipx dipx_command dipx_manual influence_table accuracy_table stage_pictures \
  measure_pictures archive_columns dipx_python
export PYTHONPATH="$PWD/build/release/python" PYTHONDONTWRITEBYTECODE=1
programs=$(mktemp -d)
trap 'rm -rf "$programs"' EXIT
for program in command/dipx tests/accuracy/influence_table tests/accuracy/accuracy_table docs/stage_pictures \
               docs/measure_pictures docs/archive_columns; do
  ln -s "$PWD/build/release/$program" "$programs"
done
# shellcheck disable=SC2086  # one word or none
docs/quotes.py $mode "$programs" "$@"
