#!/bin/sh
# manual.sh PAGES COMMAND: the manual pages are sound for both formatters in use, and hold every subcommand and option of
# --help.
set -eu
pages=$1
command=$2
failed=0
complain() { echo "$*"; failed=1; }

# shown SUBCOMMAND: its page as plain text on one line.
shown() {
  mandoc -Tascii "$pages/dipx${1:+-$1}.1" | col -bx | tr '\n' ' ' | tr -s ' '
}

count=0
subcommands=$("$command" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]*\)[ ,].*/\1/p')
for subcommand in '' $subcommands; do
  page=$pages/dipx${subcommand:+-$subcommand}.1
  mandoc -Tlint -Wwarning "$page" || complain "$page: mandoc warns"
  warnings=$(groff -man -Tutf8 -ww -z "$page" 2>&1)
  [ -z "$warnings" ] || complain "$warnings"
  text=$(shown "$subcommand")
  # shellcheck disable=SC2086  # no subcommand is no word
  help=$("$command" $subcommand --help | tr '\n' ' ' | tr -s ' ')
  # shellcheck disable=SC2086
  options=$("$command" $subcommand --help | grep -oE '^ +(-[a-z],)?--[a-z-]+' | sed 's/.*--/--/')
  for option in $options; do
    case $text in *"$option "*) ;; *) complain "$page: $option is missing" ;; esac
    count=$((count + 1))
  done
  case $help in *"Exit status: 0 done"*) ;; *) complain "dipx $subcommand --help: no exit status" ;; esac
  case $text in *"EXIT STATUS 0 done"*) ;; *) complain "$page: no exit status" ;; esac
done
for subcommand in $subcommands; do
  case $(shown '') in *"dipx-$subcommand(1)"*) ;; *) complain "dipx.1 does not lead to dipx-$subcommand.1" ;; esac
done
[ "$count" -ge 25 ] || complain "only $count options looked for"
exit $failed
