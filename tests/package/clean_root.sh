#!/bin/sh
# clean_root.sh PACKAGES HOST.c EXAMPLES: on a Debian that has nothing but its essential packages, the packages install by
# their own dependencies alone, the command analyses a record, a host builds and runs, and removal leaves nothing behind.
# Needs root and Debian's mirror.
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

echo "the command, alone"
install_in_root "$(given dipx-tools)"
inside dipx --version
inside dipx selftest
inside sh -c 'dipx synth --depth 40 | dipx analyse -' | grep -q '^1 event$'
inside dipx analyse /given/rte_00.cfg | grep -q 'two-phase dip with zero sequence'
[ -z "$(inside find /usr/lib -name 'libdipx*')" ]

echo "the library, alone"
install_in_root "$(given libdipx1)"
inside ldconfig -p | grep -q 'libdipx\.so\.1 '
[ -z "$(inside find /usr/include /usr/lib -name 'dipx*.h' -o -name 'libdipx.so')" ]

echo "a host"
install_in_root "$(given libdipx-dev)" gcc libc6-dev pkg-config
inside sh -c 'cd /given && cc -std=c11 -Wall -Werror host.c -o host $(pkg-config --cflags --libs dipx) -lm && ./host'

echo "removal"
inside apt-get -qq purge -y dipx-tools libdipx1 libdipx-dev >/dev/null
left=$(inside find /usr /etc /var/lib/dpkg/info -name '*dipx*')
[ -z "$left" ] || { echo "left behind: $left"; exit 1; }
