#!/bin/sh
# windows.sh: builds the command and the library for 64-bit Windows, runs the command and hosts of the library under
# Wine, and checks that they get the same bytes as from the build for this machine: outputs of the command, records,
# reports and printed lines of the dips of made records. Then it makes build/windows/dipx-VERSION-windows-x86_64.zip with
# the command, the library and its headers.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 dpkg-dev
scripts/debian_sources.sh build/windows/sources libzip libcsv
for preset in release windows; do
  cmake --preset "$preset" -DDIPX_PAGE=ON >/dev/null
done
cmake --build --preset release --target dipx dipx_command >/dev/null
cmake --build --preset windows --target dipx dipx_command >/dev/null
root=$PWD
prefix=x86_64-w64-mingw32
scratch=$(mktemp -d)
# Wine keeps its own small Windows in a folder and runs a server for it, which ends with the last program.
export WINEPREFIX="$scratch/wine" WINEDEBUG=-all LC_ALL=C.UTF-8
trap '/usr/lib/wine/wineserver64 -k || true; /usr/lib/wine/wineserver64 -w; rm -rf "$scratch"' EXIT
windows() { /usr/lib/wine/wine64 "$@"; }
fail() { echo "windows.sh: $*" >&2 && exit 1; }

# --- the library -----------------------------------------------------------------------------------------------------

archive=dipx-$(sed -n 's/^project(dipx VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)-windows-x86_64
content=$scratch/$archive
cmake --install build/windows --component windows --strip --prefix "$content" >/dev/null
$prefix-objdump -p "$content/dipx.dll" >"$scratch/tables"
sed -n '/Ordinal\/Name Pointer/,/^$/p' "$scratch/tables" | awk 'NR > 1 && NF { print $NF }' | sort >"$scratch/exported"
awk '{ print $2 }' tests/package/exported_symbols.txt | sort | diff - "$scratch/exported" ||
  fail "dipx.dll exports other names than tests/package/exported_symbols.txt lists"
for file in dipx.dll dipx.exe; do
  $prefix-objdump -p "$content/$file" | sed -n 's/.*DLL Name: //p' >"$scratch/needed"
  grep -q -i -x 'KERNEL32\.dll' "$scratch/needed" || fail "$file has no list of what it needs"
  needed=$(grep -v -i -x -E '(ADVAPI32|bcrypt|KERNEL32|msvcrt|SHELL32)\.dll' "$scratch/needed" || true)
  [ -z "$needed" ] || fail "$file needs more than Windows has: $needed"
done
# Wide vectors on the stack are not aligned on Windows, so no move of one may need it.
$prefix-objdump -d --no-show-raw-insn "$content/dipx.dll" >"$scratch/code"
grep -q -E 'vmovup[sd].*\(.*%[yz]mm' "$scratch/code" || fail "dipx.dll has no kernels with wide vectors"
aligned=$(grep -E 'vmov(ap|dqa|nt)[^ ]* .*\(' "$scratch/code" | grep -c '%[yz]mm' || true)
[ "$aligned" -eq 0 ] || fail "dipx.dll has $aligned moves of wide vectors that need alignment"

# --- records ---------------------------------------------------------------------------------------------------------

# Host programs get names in the code page of western languages, which has these letters.
folder=$scratch/Störungen/März
mkdir -p "$folder" "$scratch/here" "$scratch/there"
cd "$folder"
count=0
# make OPTION... makes a record.
make() {
  count=$((count + 1))
  "$root/build/release/command/dipx" synth "$@" -o "Prüfung_$count.csv"
}
for phases in A B C AB BC CA A-B B-C C-A ABC; do
  make --phases "$phases" --depth 40
  make --phases "$phases" --depth 30 --duration 0.31 --harmonics 5:2,7:1 --noise 0.3 --fall 0.02 --recovery 0.1
done
make --depth 0
make --depth 99 --point-on-wave 45
make --phases A --depth 50 --jump=-25
make --depth 30,60 --duration 0.4,0.4
make --phases A --depth 60 --voltage 63509
make --phases BC --depth 50 --frequency 60 --rate 3840 --voltage 120
make --phases A --depth 40 --duration 15 --rate 1600
make --phases A,AB,ABC --depth 50,55,65 --duration 0.1,0.1,0.2
make --phases A --depth 60 --duration 1 --deviation=-0.4

# --- comparison ------------------------------------------------------------------------------------------------------

host=$root/tests/package/record_bytes.c
cc "$host" -I "$root" -L "$root/build/release" -ldipx -o "$scratch/here/host"
# The second host computes with 53 bits on the old arithmetic unit, as programs of other compilers for Windows do.
short_arithmetic=$($prefix-gcc-posix -print-file-name=CRT_fp8.o)
$prefix-gcc-posix "$host" -I "$content" "$content/dipx.dll.a" -o "$scratch/there/host.exe"
$prefix-gcc-posix "$host" -I "$content" "$content/dipx.dll.a" "$short_arithmetic" -o "$scratch/there/host_53.exe"
$prefix-gcc-posix "$root/tests/package/host.c" -I "$content" "$content/dipx.dll.a" -o "$scratch/there/plain.exe"
cp "$content/dipx.dll" "$scratch/there"
# Wine prints lines of its own when it is first run.
windows "$scratch/there/plain.exe" >"$scratch/plain" 2>&1 || fail "the plain host fails: $(cat "$scratch/plain")"

# keep NAME keeps the report and the printed lines without what differs from run to run: times that the analysis took,
# and addresses of the working records.
keep() {
  sed 3d dipx_result.txt >"$1.report"
  rm dipx_result.txt
  sed -i -E -e 's/(ok|reused|=)(:? ?)(0x[0-9a-f]+|[0-9a-fA-F]{16})(\r| |$)/\1\2ADDRESS\4/g' \
    -e 's/^(svd time=)[0-9]+/\1/' "$1.lines"
}
for rate in 32 128; do
  name=host_$rate
  LD_LIBRARY_PATH=$root/build/release "$scratch/here/host" "$scratch/here/$name" $rate Prüfung_*.csv \
    >"$scratch/here/$name.lines"
  keep "$scratch/here/$name"
  set --
  for record in Prüfung_*.csv; do set -- "$@" "..\\März\\$record"; done
  for host in host host_53; do
    name=${host}_$rate
    windows "$scratch/there/$host.exe" "..\\..\\there\\$name" $rate "$@" >"$scratch/there/$name.lines" ||
      fail "$host fails with $rate samples per cycle"
    keep "$scratch/there/$name"
    for part in '' .report .lines; do
      cmp "$scratch/here/host_$rate$part" "$scratch/there/$name$part" || fail "$name$part differs"
    done
  done
done

# --- the command -----------------------------------------------------------------------------------------------------

"$root/tests/command/on_windows.sh" "$root/build/release/command/dipx" "$content/dipx.exe" "$root/examples"

# --- zip file --------------------------------------------------------------------------------------------------------

rm -f "$root"/build/windows/dipx-*.zip
(cd "$scratch" && cmake -E tar cf "$root/build/windows/$archive.zip" --format=zip "$archive")
echo "windows: records, reports and lines of $count records compared at two rates with two hosts, none differs"
echo "windows: build/windows/$archive.zip"
