#!/bin/sh
# first_steps.sh: runs every command that README, the tutorial and the page on hosts show, in this order and in one
# terminal, on a Debian that has only its essential packages. Only scripts/check.sh is left out, which CI runs. The
# script needs root, Debian's mirror and half an hour.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh --least debootstrap git
root=$(mktemp -d)
finish() {
  umount "$root/proc" "$root/dev" 2>/dev/null || true
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

# Each block of commands follows a line that names its page.
for page in README.md docs/tutorial.md docs/hosts.md; do
  awk -v page="$page" '
    /^```sh$/ { within = 1; printf "echo \"=== %s, line %d\"\n", page, NR; next }
    /^```/ { within = 0 }
    within && $0 !~ /scripts\/check\.sh/ { print }' "$page"
done >"$root/dipx/first_steps"
blocks=$(grep -c '^echo "=== ' "$root/dipx/first_steps")
registry=
! command -v npm >/dev/null || registry=NPM_CONFIG_REGISTRY=$(npm config get registry)
# shellcheck disable=SC2086  # one word or none
chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 $registry \
  sh -c 'cd /dipx && sh -eu first_steps'
echo "first_steps.sh: $blocks blocks of commands run"
