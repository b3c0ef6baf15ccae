#!/bin/sh
# debian_sources.sh FOLDER NAME...: fetches the sources of these Debian packages and unpacks them as FOLDER/NAME, unless
# they are there. It needs dpkg-dev. Builds for other systems compile them where Debian has no such library for them.
set -eu
folder=$1
shift
mkdir -p "$folder/lists/partial"
missing=
for name; do
  [ -d "$folder/$name" ] || missing="$missing $name"
done
[ -n "$missing" ] || exit 0
echo "Fetching the sources of$missing"
cd "$folder"
# The sources come from where this machine gets its packages, whose own list stays as it is. Of equal versions apt takes
# the first one in the list, and the archive itself has all files, which a mirror of security updates may lack.
keys=/usr/share/keyrings/debian-archive-keyring.gpg
source_line="deb-src [signed-by=$keys] \$(REPO_URI) \$(RELEASE) \$(COMPONENT)"
apt-get indextargets --format "$source_line" 'Created-By: Packages' | LC_ALL=C sort -u -r >sources.list
from_debian() {
  apt-get -qq -o APT::Sandbox::User=root -o Dir::Etc::SourceList="$PWD/sources.list" \
    -o Dir::Etc::SourceParts=/dev/null -o Dir::State::Lists="$PWD/lists" "$@"
}
from_debian update
# shellcheck disable=SC2086  # a list of names
from_debian source --download-only $missing
for name in $missing; do
  dpkg-source --no-check -x "${name}"_*.dsc "$name" >/dev/null
done
