#!/bin/sh
# reproducible.sh: makes the packages here and from a copy of the sources in another folder, and checks that both are
# equal to the last bit.
set -eu
cd "$(dirname "$0")/.."
scripts/packages.sh >/dev/null
elsewhere=$(mktemp -d)
trap 'rm -rf "$elsewhere"' EXIT
mkdir "$elsewhere/of another length"
git ls-files -z | xargs -0 cp --parents -t "$elsewhere/of another length"
if [ -d outputs/page/node_modules ]; then cp -R outputs/page/node_modules "$elsewhere/of another length/outputs/page"; fi
# The second build must not reuse anything of the first one.
CCACHE_DISABLE=1 "$elsewhere/of another length/scripts/packages.sh" >"$elsewhere/log" 2>&1 || {
  tail -n 30 "$elsewhere/log"
  exit 1
}
count=0
for package in build/package/packages/*.deb; do
  cmp "$package" "$elsewhere/of another length/$package"
  count=$((count + 1))
done
[ "$count" -eq 3 ] || { echo "$count packages instead of 3"; exit 1; }
sha256sum build/package/packages/*.deb
