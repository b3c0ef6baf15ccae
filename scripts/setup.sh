#!/bin/sh
# setup.sh [--least] [PACKAGE...]: installs the packages that building needs, and the given ones, on Debian 12, and uPlot
# from npm for the page of dipx analyse --html. Only missing packages are installed, which needs root or sudo. A package
# may be that of another architecture, as in libfmt-dev:arm64. With --least only the packages are installed without which
# the command cannot be built; the build leaves out the page, databases, tests and benchmarks, and names them.
set -eu
export DEBIAN_FRONTEND=noninteractive
packages="g++ cmake ninja-build pkg-config libcli11-dev nlohmann-json3-dev libcsv-dev libfmt-dev libzip-dev libeigen3-dev"
packages="$packages zlib1g-dev nettle-dev"
least=
if [ "${1:-}" = --least ]; then
  least=yes
  shift
else
  packages="$packages libgtest-dev libbenchmark-dev libsqlite3-dev libpq-dev libcairo2-dev"
  # An existing npm may come from elsewhere, and Debian's package could conflict with it.
  command -v npm >/dev/null || packages="$packages npm"
fi
packages="$packages $*"
# A package of this machine's architecture may be installed next to the same one of another.
is_installed() {
  case $1 in *:*) architecture=${1#*:} ;; *) architecture=$(dpkg --print-architecture) ;; esac
  dpkg-query -W -f '${db:Status-Status} ${Architecture}\n' "${1%:*}" 2>/dev/null |
    grep -q -x -E "installed ($architecture|all)"
}
missing=
for package in $packages; do
  is_installed "$package" || missing="$missing $package"
done
if [ -n "$missing" ]; then
  as_root=
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup.sh: run as root, or install:$missing" >&2; exit 1; }
    as_root="sudo --preserve-env=DEBIAN_FRONTEND"
  fi
  echo "Installing:$missing"
  case $missing in *:arm64*) $as_root dpkg --add-architecture arm64 ;; esac
  $as_root apt-get -qq update
  # shellcheck disable=SC2086  # lists of words
  $as_root apt-get -qq install -y --no-install-recommends $missing >/dev/null
fi
[ -z "$least" ] || exit 0

page=$(dirname "$0")/../outputs/page
if [ ! "$page/node_modules/.package-lock.json" -nt "$page/package-lock.json" ]; then
  echo "Installing: uPlot (npm)"
  npm ci --prefix "$page" --ignore-scripts --no-audit --no-fund --loglevel=error >/dev/null ||
    echo "setup.sh: uPlot could not be installed; the command will be built without --html" >&2
fi
