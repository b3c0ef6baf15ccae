#!/bin/sh
# manual.sh PAGES COMMAND: both common formatters accept the manual pages, and the pages contain every subcommand and
# option of --help.
set -eu
pages=$1
command=$2
failed=0
complain() { echo "$*"; failed=1; }

# shown SUBCOMMAND: its page as plain text on one line. A command within a command has a page such as dipx-archive-add.
shown() {
  mandoc -Tascii "$pages/$(echo "dipx $1" | sed -e 's/ *$//' -e 's/ /-/g').1" | col -bx | tr '\n' ' ' | tr -s ' '
}

count=0
subcommands=$("$command" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\)[ ,].*/\1/p')
of_archive=$("$command" archive --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\)[ ,].*/\1/p')
pages_of_archive=
for subcommand in $of_archive; do pages_of_archive="$pages_of_archive archive-$subcommand"; done
for name in '' $subcommands $pages_of_archive; do
  page=$pages/dipx${name:+-$name}.1
  subcommand=$(echo "$name" | tr '-' ' ')
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
for subcommand in $of_archive; do
  case $(shown archive) in *"dipx-archive-$subcommand(1)"*) ;; *) complain "dipx-archive.1 does not lead to $subcommand" ;; esac
done
[ "$count" -ge 25 ] || complain "only $count options looked for"
exit $failed
