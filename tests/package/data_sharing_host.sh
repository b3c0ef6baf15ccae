#!/bin/sh
# data_sharing_host.sh PREFIX LIBDIR CC HOST.c: a host that is linked without position independence shares the library's
# exported data.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
$3 -std=c11 -O2 -fno-pie -no-pie -I"$1/include" "$4" -o "$folder/host" -L"$1/$2" -ldipx
# Only a copy relocation puts the data into the host; without one this test would prove nothing.
readelf -r "$folder/host" | grep -q 'R_X86_64_COPY.*new_dipx_buf'
readelf -r "$folder/host" | grep -q 'R_X86_64_COPY.*sample_input_number'
cd "$folder"
LD_LIBRARY_PATH=$1/$2 ./host
