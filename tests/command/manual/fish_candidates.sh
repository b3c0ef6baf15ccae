#!/bin/sh
# fish_candidates.sh FOLDER WORD...: prints the candidates that fish offers for the last WORD of a command line, one per
# line.
set -eu
folder=$1
shift
line=$(printf '%s ' "$@")
# Descriptions follow a tab; --option=value is offered as a whole.
HOME=$PWD fish --no-config -c 'source $argv[1]/dipx.fish; complete -C $argv[2]' "$folder" "${line% }" |
  sed -e 's/\t.*//' -e 's/^--[a-z-]*=//'
