#!/usr/bin/env bash
# bash_candidates.sh FOLDER WORD...: prints the candidates that bash offers for the last WORD of a command line, one per
# line.
set -eu
# shellcheck source=/dev/null
source "$1/dipx.bash"
shift
complete -p dipx | grep -q -- '-F _dipx' || { echo "dipx has no completion"; exit 1; }
# Outside of a completion, bash does not let its options be changed.
compopt() { :; }
# Bash treats "=" as a separate word.
COMP_WORDS=()
for word; do
  if [[ $word == --*=* ]]; then
    COMP_WORDS+=("${word%%=*}" =)
    [[ -z ${word#*=} ]] || COMP_WORDS+=("${word#*=}")
  else
    COMP_WORDS+=("$word")
  fi
done
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_dipx
[[ ${#COMPREPLY[@]} -eq 0 ]] || printf '%s\n' "${COMPREPLY[@]}"
