#!/bin/sh
# without_parts.sh DIPX RECORD: a command that was built without its optional parts works, and refuses the options and
# the subcommand that need them with a message that names the remedy.
set -eu
dipx=$1
record=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# refuses WORDS COMMAND...: the exit status is 1, the message has the words, and nothing is written.
refuses() {
  words=$1
  shift
  status=0
  "$dipx" "$@" >out 2>err || status=$?
  [ "$status" -eq 1 ] || { echo "dipx $*: exit status $status"; exit 1; }
  grep -q -F -e "$words" err || { echo "dipx $*: no '$words' in: $(cat err)"; exit 1; }
  rm out err
  [ -z "$(ls)" ] || { echo "dipx $* left files"; exit 1; }
}

"$dipx" analyse "$record" --json | grep -q '"format": "dipx analysis"'
"$dipx" analyse --help | grep -q -e --svg
! "$dipx" analyse --help | grep -q -e --html
refuses "--html is not in this build of dipx, because uPlot" analyse "$record" --html page.html
refuses "run scripts/setup.sh" analyse "$record" --html page.html
! "$dipx" analyse --help | grep -q -e --pdf
refuses "--pdf is not in this build of dipx, because cairo (libcairo2-dev)" analyse "$record" --pdf figure.pdf
refuses "--png is not in this build of dipx, because cairo (libcairo2-dev)" analyse "$record" --png figure.png
"$dipx" archive --help | grep -q "not in this build"
refuses "dipx archive is not in this build of dipx, because SQLite" archive add events.db "$record" --jobs 2
refuses "dipx archive is not in this build of dipx, because SQLite" archive report events.db
refuses "dipx watch is not in this build of dipx, because SQLite" watch . events.db
