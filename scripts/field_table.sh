#!/bin/sh
# field_table.sh FOLDER [DIPX]: what `dipx analyse` makes of every record under a folder, as a table: file, channels, rate,
# dips with the lowest voltage, or the refusal.
set -eu
folder=$1
dipx=${2:-dipx}
command -v "$dipx" >/dev/null || { echo "field_table.sh: there is no $dipx; name the command behind the folder" >&2; exit 1; }
find "$folder" -type f \( -iname '*.cfg' -o -iname '*.cff' -o -iname '*.csv' -o -iname '*.tsv' -o -iname '*.pqd' \) |
  LC_ALL=C sort | while IFS= read -r file; do
  name=${file#"$folder"/}
  if text=$("$dipx" analyse "$file" 2>&1 </dev/null); then
    printf '%s\n' "$text" | awk -v name="$name" '
      NR > 2 && / per cycle of / { rate = $0 }
      /^  voltages / { voltages = substr($0, 12) }
      /^dip [0-9]/ { dips = dips "; " $3 " s to " ($6 ~ /^[0-9]/ ? $6 " s" : "the end") }
      /^  (dip|interruption), residual voltage / { sub(/^  /, ""); sub(/, residual voltage/, ""); dips = dips ": " $0 }
      /not analysed further/ { dips = dips " (" substr($0, 25) ")" }
      /^  note: / { notes++ }
      END {
        sub(/^ */, "", rate)
        sub(/^; /, "", dips)
        print "| " name " | " voltages " | " rate " | " (dips == "" ? "no dip" : dips) " | " notes + 0 " |"
      }'
  else
    printf '| %s | | | refused: %s | |\n' "$name" "$(printf '%s' "$text" | sed 's/^dipx: //')"
  fi
done
