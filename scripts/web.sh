#!/bin/sh
# web.sh: builds build/web/web/dipx.html, the page that analyses records in a browser, and tests it in node and, if it
# is installed, in headless Chromium. It needs emscripten, which it installs, the sources of three Debian packages,
# which it fetches into the build tree, and the dipx command, which it builds if there is none.
set -eu
cd "$(dirname "$0")/.."
packages="emscripten libfast-float-dev dpkg-dev"
command -v node >/dev/null || packages="$packages nodejs"
# shellcheck disable=SC2086  # a list of words
scripts/setup.sh $packages

sources=build/web/sources
mkdir -p "$sources/lists/partial"
# The sources come from where this machine gets its packages, whose own list stays as it is. Of equal versions apt takes
# the first one in the list, and the archive itself has all files, which a mirror of security updates may lack.
keys=/usr/share/keyrings/debian-archive-keyring.gpg
source_line="deb-src [signed-by=$keys] \$(REPO_URI) \$(RELEASE) \$(COMPONENT)"
apt-get indextargets --format "$source_line" 'Created-By: Packages' | LC_ALL=C sort -u -r >"$sources/sources.list"
from_debian() {
  (cd "$sources" && apt-get -qq -o APT::Sandbox::User=root -o Dir::Etc::SourceList="$PWD/sources.list" \
    -o Dir::Etc::SourceParts=/dev/null -o Dir::State::Lists="$PWD/lists" "$@")
}
if [ ! -d "$sources/zlib" ] || [ ! -d "$sources/libzip" ] || [ ! -d "$sources/libcsv" ]; then
  echo "Fetching the sources of zlib, libzip and libcsv"
  from_debian update
  from_debian source --download-only zlib libzip libcsv
  for name in zlib libzip libcsv; do
    rm -rf "${sources:?}/$name"
    dpkg-source --no-check -x "$sources/${name}"_*.dsc "$sources/$name" >/dev/null
  done
fi

cmake --preset web -DDIPX_PAGE=ON
cmake --build --preset web --target dipx_web

dipx=build/release/command/dipx
if [ ! -x "$dipx" ]; then
  cmake --preset release -DDIPX_PAGE=ON
  cmake --build --preset release --target dipx_command
fi
SOURCE=$PWD
DIPX=$PWD/$dipx
MODULE=$PWD/build/web/web/dipx_module.wasm
PAGE=$PWD/build/web/web/dipx.html
CHROMIUM=$(command -v chromium || command -v chromium-browser || true)
export SOURCE DIPX MODULE PAGE CHROMIUM
node --test tests/web/module_test.mjs
if [ -n "$CHROMIUM" ]; then
  node --test tests/web/page_test.mjs
else
  echo "web.sh: the page was not tested, because Chromium is not installed" >&2
fi
