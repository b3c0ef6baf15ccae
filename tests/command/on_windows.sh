#!/bin/sh
# on_windows.sh DIPX DIPX_EXE EXAMPLES: runs the command for this machine and, under Wine, the one for Windows with the
# same records and options, and fails if outputs, messages, exit statuses or written files differ. Wine keeps its small
# Windows in the folder WINEPREFIX.
set -eu
dipx=$(realpath "$1")
exe=$(realpath "$2")
examples=$(realpath "$3")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/here/Störungen/März"
cd "$scratch/here"
fail() { echo "on_windows.sh: $*" >&2 && exit 1; }
windows() { WINEDEBUG=-all LC_ALL=C.UTF-8 /usr/lib/wine/wine64 "$exe" "$@"; }

# --- records ---------------------------------------------------------------------------------------------------------

cp "$examples/rte_00.cfg" "$examples/rte_00.dat" "$examples/rte_08_volts.csv" .
"$dipx" synth --phases A --depth 30,60 --duration 0.2,0.15 --harmonics 5:4,7:3 --noise 0.3 -o steps.csv
"$dipx" synth --phases B-C --depth 40 --rate 4800 --frequency 60 -o jump.cff
"$dipx" synth --depth 70 --point-on-wave 45 -o text.cfg
"$dipx" synth --depth 55 --noise 0.5 --duration 0.31 -o packed.pqd
"$dipx" synth --binary --depth 20 --fall 0.1 --recovery 0.2 -o integers.cfg
"$dipx" synth --phases A,AB,ABC --depth 50,55,65 --duration 0.1,0.1,0.2 -o evolving.csv
"$dipx" synth --phases A --depth 40 --duration 15 --rate 1600 -o long.csv
"$dipx" synth --depth 0 -o quiet.csv
"$dipx" synth --phases AB --depth 45 -o "Störungen/März/Prüfung 1.csv"
sed 's/$/\r/' steps.csv >ended_by_cr_lf.csv
named() { sed "1s/.*/t_s,$1 A_V,$1 B_V,$1 C_V/" steps.csv; }
named '母线电压' | iconv -t GBK >gbk.csv
named 'Шина' | iconv -t WINDOWS-1251 >windows_1251.csv
named 'Шина' | iconv -t CP866 >cp866.csv
named 'Stör' | iconv -t LATIN1 >latin_1.csv
{ printf '\377\376' && named 'Stör' | iconv -t UTF-16LE; } >utf_16.csv
gzip -c steps.csv >packed.csv.gz
cmake -E tar cf pair.zip --format=zip rte_00.cfg rte_00.dat
cp -r "$scratch/here" "$scratch/there"

# --- comparison ------------------------------------------------------------------------------------------------------

count=0
# both ARGUMENT... runs both commands, each in its own folder, and keeps their outputs.
both() {
  count=$((count + 1))
  here=0
  there=0
  (cd "$scratch/here" && "$dipx" "$@" </dev/null >../here.out 2>../here.err) || here=$?
  (cd "$scratch/there" && windows "$@" </dev/null >../there.out 2>../there.err) || there=$?
}
# same STATUS ARGUMENT... expects that both end with this status and the same bytes.
same() {
  expected=$1
  shift
  both "$@"
  [ "$here" -eq "$expected" ] || fail "dipx $*: exit status $here: $(cat "$scratch/here.err")"
  [ "$there" -eq "$expected" ] || fail "dipx.exe $*: exit status $there: $(cat "$scratch/there.err")"
  for stream in out err; do
    cmp "$scratch/here.$stream" "$scratch/there.$stream" || fail "dipx.exe $*: other bytes ($stream)"
  done
}
# says STATUS WORDS ARGUMENT... expects that dipx.exe ends with this status and a message with these words.
says() {
  expected=$1
  words=$2
  shift 2
  count=$((count + 1))
  there=0
  (cd "$scratch/there" && windows "$@" </dev/null >../there.out 2>../there.err) || there=$?
  [ "$there" -eq "$expected" ] || fail "dipx.exe $*: exit status $there: $(cat "$scratch/there.err")"
  grep -q -F -e "$words" "$scratch/there.err" || fail "dipx.exe $*: no '$words' in: $(cat "$scratch/there.err")"
}

# Wine prints lines of its own when it is first run.
windows --version >/dev/null 2>&1 || fail "dipx.exe does not start"
windows --version >"$scratch/version" 2>&1
grep -q '^dipx [0-9.]* (instruction set: ' "$scratch/version" || fail "--version: $(cat "$scratch/version")"

set -- *.csv *.cfg *.cff *.pqd *.gz *.zip
for form in --json-lines --csv -q --library; do same 0 analyse "$@" "$form"; done
same 0 analyse "$@"
for record in rte_00.cfg steps.csv packed.pqd jump.cff gbk.csv; do
  same 0 analyse "$record" --json
  same 0 info "$record"
  same 0 info "$record" --json
done
for record in rte_00.cfg steps.csv packed.pqd; do
  name=${record%.*}
  same 0 analyse "$record" -q --svg "$name.svg" --html "$name.html" --report "$name.txt" --certificate "$name.json"
  same 0 verify "$name.json" "$record"
done
same 0 analyse gbk.csv --charset GB18030 --json
same 0 analyse windows_1251.csv --charset cp1251 --json
same 0 analyse 'r*.c?g' -q
# The short name of this file on Windows ends in .CFG.
cp rte_00.cfg "$scratch/here/rte_00.cfg_old"
cp rte_00.cfg "$scratch/there/rte_00.cfg_old"
same 0 analyse '*.cfg' -q
same 10 analyse steps.csv -q --fail-on dip
same 0 convert rte_00.cfg -o converted.csv
same 0 convert rte_00.cfg -o converted.cff
same 0 convert rte_08_volts.csv -o Störungen.cfg
same 0 synth --phases A --depth 40 --noise 0.2 -o made.pqd
same 0 selftest
same 0 explain
same 0 explain itic
same 1 explain itik
same 1 analyse steps.csv --no-such-option
same 2 analyse missing.csv
same 4 analyse steps.csv --svg missing/figure.svg
same 1 analyse steps.csv --svg steps.csv
same 1 analyse steps.csv --charset klingon

# Text with line ends of Windows is read like any other.
both analyse ended_by_cr_lf.csv --csv
sed 's/ended_by_cr_lf/steps/' "$scratch/there.out" >"$scratch/renamed"
both analyse steps.csv --csv
cmp "$scratch/renamed" "$scratch/there.out" || fail "lines that end in CR LF are read differently"

# Paths have backslashes, also in what is printed, and letters of any language.
(cd "$scratch/here" && "$dipx" analyse "Störungen/März/Prüfung 1.csv" --csv) | sed 's|/|\\|g' >"$scratch/backslashes"
(cd "$scratch/there" && windows analyse 'Störungen\März\Prüfung 1.csv' --csv) >"$scratch/there.out"
cmp "$scratch/backslashes" "$scratch/there.out" || fail "a path with backslashes gives another table"
(cd "$scratch/there" && windows analyse Störungen --csv) >"$scratch/there.out"
cmp "$scratch/backslashes" "$scratch/there.out" || fail "the records of a folder are named differently"
(cd "$scratch/there" && windows analyse "Z:$(printf '%s' "$scratch/there/steps.csv" | tr / '\\')" -q) >"$scratch/there.out"
grep -q 'steps\.csv.*dip' "$scratch/there.out" || fail "a path from the root of a drive is not read"
# The figure's title is the path.
(cd "$scratch/there" && windows analyse 'Störungen\März\Prüfung 1.csv' -q --svg 'Störungen\März\折线.svg') >/dev/null
sed -i 's|März\\|März/|; s|Störungen\\|Störungen/|' "$scratch/there/Störungen/März/折线.svg"
(cd "$scratch/here" && "$dipx" analyse "Störungen/März/Prüfung 1.csv" -q --svg "Störungen/März/折线.svg") >/dev/null

# The device that takes everything is written in place, and gives an empty record.
(cd "$scratch/there" && windows analyse steps.csv -q --svg NUL) >"$scratch/there.out" || fail "NUL cannot be written"
(cd "$scratch/here" && "$dipx" analyse steps.csv -q --svg /dev/null) | cmp - "$scratch/there.out"
says 2 'NUL: ' analyse NUL

# A file that exists is kept if the user wants that.
says 4 'exists already and --no-clobber keeps it' analyse steps.csv -q --svg steps.svg --no-clobber

# What is not part of the command for Windows is refused.
for part in --pdf --png; do
  says 1 "$part is not in this build of dipx, because it is not part of dipx for Windows" analyse steps.csv "$part" figure
done
says 1 'dipx archive is not in this build of dipx, because' archive add store.db steps.csv
says 1 'dipx watch is not in this build of dipx, because' watch . store.db
windows analyse --help >"$scratch/help"
! grep -q -e --pdf "$scratch/help" || fail "--help offers what is not there"
grep -q -e --html "$scratch/help" || fail "--help does not offer --html"

# Both commands have written the same files and left no others.
# The third line of a report is the time that the analysis took.
sed -i 3d "$scratch"/*ere/rte_00.txt "$scratch"/*ere/steps.txt "$scratch"/*ere/packed.txt
diff -r "$scratch/here" "$scratch/there" || fail "the commands have written different files"
echo "dipx.exe: $count runs compared, none differs"
