#!/bin/sh
# pkg_config_host.sh PREFIX LIBDIR CC HOST.c: a C host builds with what pkg-config says and runs against the installed tree.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
PKG_CONFIG_PATH=$1/$2/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046  # flags are words
$3 -std=c11 -Wall -Wextra -pedantic -Werror "$4" -o "$folder/host" $(pkg-config --cflags --libs dipx) -lm
cd "$folder"
LD_LIBRARY_PATH=$1/$2 ./host
[ -s dipx_result.txt ]
