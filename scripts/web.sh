#!/bin/sh
# web.sh: builds build/web/web/dipx.html, the page that analyses records in a browser, and tests it in node and, if it
# is installed, in headless Chromium. It needs emscripten, which it installs, the sources of three Debian packages,
# which it fetches into the build tree, and the dipx command, which it builds if there is none.
set -eu
cd "$(dirname "$0")/.."
packages="emscripten libfast-float-dev dpkg-dev xz-utils"
command -v node >/dev/null || packages="$packages nodejs"
# shellcheck disable=SC2086  # a list of words
scripts/setup.sh $packages

scripts/debian_sources.sh build/web/sources zlib libzip libcsv
cmake --preset web -DDIPX_PAGE=ON
# em++ is a script that stays the same with another compiler, so ccache is told the versions that make the objects.
versions=$(dpkg-query -W -f '${Package} ${Version} ' emscripten clang-14)
CCACHE_COMPILERCHECK="string:$versions" cmake --build --preset web --target dipx_web

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
