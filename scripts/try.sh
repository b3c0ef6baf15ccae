#!/bin/sh
# try.sh [RECORD]: installs what is missing, builds the dipx command as fast as possible, and analyses a record (the
# example by default). The build is not optimised; its results are the same. Optional parts whose packages are missing
# are left out, and the build names them.
set -eu
case ${1:-} in
  /*) record=$1 ;;
  ?*) record=$PWD/$1 ;;
  *) record= ;;
esac
cd "$(dirname "$0")/.."
echo "The finding follows in about three minutes on two processors: one for missing packages, two for the build."
scripts/setup.sh --least
configured=$(cmake --preset try) || {
  echo "$configured"
  exit 1
}
echo "$configured" | sed -n 's/^-- \(Not built\)/\1/p'
cmake --build --preset try --target dipx_command
echo
build/try/command/dipx analyse "${record:-examples/rte_00.cfg}"
cat <<END

docs/tutorial.md explains this report line by line, and docs/command.md the page for a browser (--html).
To use dipx in this terminal, paste this line:

  export PATH="$PWD/build/try/command:\$PATH"
END
