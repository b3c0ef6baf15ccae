#!/bin/sh
# first_steps.sh: runs every command that README, the tutorial and the page on hosts show, in this order and in one
# terminal, on a Debian that has only its essential packages. Only scripts/check.sh is left out, which CI runs. The
# script needs root, Debian's mirror and half an hour.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh --least debootstrap git
root=$(mktemp -d)
chmod 755 "$root" # apt downloads as a user of its own
finish() {
  umount "$root/proc" "$root/dev/pts" "$root/dev" 2>/dev/null || true
  rm -rf --one-file-system "$root"
}
trap finish EXIT
debootstrap --variant=minbase bookworm "$root" >"$root.log" 2>&1 || {
  tail -n 20 "$root.log"
  exit 1
}
rm -f "$root.log"
mkdir "$root/dipx"
git ls-files -z | xargs -0 tar cf - | tar xf - -C "$root/dipx"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
mount --bind /dev/pts "$root/dev/pts"

# Each block of commands follows a line that names its page.
for page in README.md docs/tutorial.md docs/hosts.md; do
  awk -v page="$page" '
    /^```sh$/ { within = 1; printf "echo \"=== %s, line %d\"\n", page, NR; next }
    /^```/ { within = 0 }
    within && $0 !~ /scripts\/check\.sh/ { print }' "$page"
done >"$root/dipx/first_steps"
blocks=$(grep -c '^echo "=== ' "$root/dipx/first_steps")
# npm uses the registry that this machine uses, and trusts whom it trusts, as behind the proxy of a company.
registry=
! command -v npm >/dev/null || registry=NPM_CONFIG_REGISTRY=$(npm config get registry)
trusted=
if [ -r /etc/ssl/certs/ca-certificates.crt ]; then
  cp /etc/ssl/certs/ca-certificates.crt "$root/trusted.crt"
  trusted=NODE_EXTRA_CA_CERTS=/trusted.crt
fi
# shellcheck disable=SC2086  # one word or none
chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 $registry $trusted \
  sh -c 'cd /dipx && sh -eu first_steps'
echo "first_steps.sh: $blocks blocks of commands run"
