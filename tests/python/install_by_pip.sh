#!/bin/sh
# install_by_pip.sh PYTHON: installs the package from the checkout into a new environment, without a network, as
# docs/python.md says, and uses it. The checkout gets no new files outside build/.
set -eu
python=$1
cd "$(dirname "$0")/../.."
environment=$(mktemp -d)
trap 'rm -rf "$environment"' EXIT
"$python" -m venv --system-site-packages "$environment"
before=$(ls -A . python python/dipx)
"$environment/bin/pip" install --quiet --disable-pip-version-check --no-build-isolation --no-index .
[ "$(ls -A . python python/dipx)" = "$before" ]
cd "$environment"
cat >use.py <<'end'
import sys
import dipx
print(dipx.__file__.startswith(sys.argv[1]), len(dipx.analyse(sys.argv[2]).events))
end
printed=$(env -u PYTHONPATH bin/python use.py "$environment" "$OLDPWD/examples/rte_00.cfg")
[ "$printed" = "True 2" ] || { echo "the installed package printed: $printed"; exit 1; }
