#!/bin/sh
# setup.sh [PACKAGE...]: installs what building and testing need (and the PACKAGEs named) on Debian 12. Asks apt only for
# what is missing; needs root or sudo for that.
set -eu
export DEBIAN_FRONTEND=noninteractive
packages="g++ cmake ninja-build pkg-config libgtest-dev libcli11-dev nlohmann-json3-dev libcsv-dev libfmt-dev"
packages="$packages libbenchmark-dev python3-jsonschema $*"
missing=
for package in $packages; do
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0
as_root=
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "setup.sh: run as root, or install:$missing" >&2; exit 1; }
  as_root="sudo --preserve-env=DEBIAN_FRONTEND"
fi
echo "Installing:$missing"
$as_root apt-get -qq update
# shellcheck disable=SC2086  # lists of words
$as_root apt-get -qq install -y --no-install-recommends $missing >/dev/null
