#!/bin/sh
# clean_root.sh PACKAGES HOST.c EXAMPLES: tests the packages on a Debian that has only its essential packages. They
# install with only their own dependencies, the command analyses a record, a host builds and runs, a record is measured in
# Python, and removal leaves no files. The test needs root and Debian's mirror.
set -eu
packages=$1
host=$2
examples=$3
root=$(mktemp -d)
trap 'rm -rf --one-file-system "$root"' EXIT
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
given() { (cd "$root" && echo given/"$1"_*.deb | sed 's|^|/|'); }
install_in_root() { inside apt-get -qq install -y --no-install-recommends "$@" >"$root/apt.log" 2>&1 || { cat "$root/apt.log"; exit 1; }; }

debootstrap --variant=minbase bookworm "$root" >"$root.log" 2>&1 || {
  tail -n 20 "$root.log"
  exit 1
}
rm -f "$root.log"
mkdir "$root/given"
cp "$packages"/*.deb "$host" "$examples"/rte_00.cfg "$examples"/rte_00.dat "$root/given"

echo "the command without the library packages"
install_in_root "$(given dipx-tools)"
inside dipx --version
inside dipx selftest
inside sh -c 'dipx synth --depth 40 | dipx analyse -' | grep -q '^1 event$'
inside dipx analyse /given/rte_00.cfg | grep -q 'two-phase dip with zero sequence'
inside dipx analyse -q /usr/share/doc/dipx-tools/examples/rte_08_volts.csv | grep -q 'event 1, dip'
inside test -s /usr/share/doc/dipx-tools/docs/tutorial.md
[ -z "$(inside find /usr/lib -name 'libdipx*')" ]

echo "the library without the command"
install_in_root "$(given libdipx1)"
inside ldconfig -p | grep -q 'libdipx\.so\.1 '
[ -z "$(inside find /usr/include /usr/lib -name 'dipx*.h' -o -name 'libdipx.so')" ]

echo "a host"
install_in_root "$(given libdipx-dev)" gcc libc6-dev pkg-config
inside sh -c 'cd /given && cc -std=c11 -Wall -Werror host.c -o host $(pkg-config --cflags --libs dipx) -lm && ./host'
inside sh -c 'cd /given && cc /usr/share/doc/libdipx-dev/examples/hosts/record_host.c -o example \
  $(pkg-config --cflags --libs dipx)'
inside sh -c 'cd /given && ./example /usr/share/doc/libdipx-dev/examples/rte_08_volts.csv 128 900 2>&1 >/dev/null' |
  grep -q '^dip 1: 88.4 ms'
inside test -s /usr/share/doc/libdipx-dev/docs/hosts.md

echo "the Python package"
install_in_root "$(given python3-dipx)"
inside sh -c 'cd /given && python3 -c "
import dipx
analysis = dipx.measure(dipx.read(\"rte_00.cfg\"))
print([event.kind for event in analysis.events])"' | grep -q "^\['dip', 'swell'\]$"

echo "removal"
inside apt-get -qq purge -y python3-dipx dipx-tools libdipx1 libdipx-dev >/dev/null
left=$(inside find /usr /etc /var/lib/dpkg/info -name '*dipx*')
[ -z "$left" ] || { echo "files are left after removal: $left"; exit 1; }
