#!/bin/sh
# setup.sh [PACKAGE...]: installs the packages that building needs, and the given ones, on Debian 12, and uPlot from npm
# for the page of dipx analyse --html. Only missing packages are installed, which needs root or sudo.
set -eu
export DEBIAN_FRONTEND=noninteractive
packages="g++ cmake ninja-build pkg-config libgtest-dev libcli11-dev nlohmann-json3-dev libcsv-dev libfmt-dev"
packages="$packages libeigen3-dev libbenchmark-dev $*"
# An existing npm may come from elsewhere, and Debian's package could conflict with it.
command -v npm >/dev/null || packages="$packages npm"
missing=
for package in $packages; do
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing="$missing $package"
done
if [ -n "$missing" ]; then
  as_root=
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup.sh: run as root, or install:$missing" >&2; exit 1; }
    as_root="sudo --preserve-env=DEBIAN_FRONTEND"
  fi
  echo "Installing:$missing"
  $as_root apt-get -qq update
  # shellcheck disable=SC2086  # lists of words
  $as_root apt-get -qq install -y --no-install-recommends $missing >/dev/null
fi

page=$(dirname "$0")/../outputs/page
if [ ! "$page/node_modules/.package-lock.json" -nt "$page/package-lock.json" ]; then
  echo "Installing: uPlot (npm)"
  npm ci --prefix "$page" --ignore-scripts --no-audit --no-fund --loglevel=error >/dev/null ||
    echo "setup.sh: uPlot could not be installed; the command will be built without --html" >&2
fi
