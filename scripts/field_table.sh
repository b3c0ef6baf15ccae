#!/bin/sh
# field_table.sh FOLDER [DIPX]: analyses every record in a folder and prints a table: file, channels, sampling rate,
# events with their residual or highest voltages, and number of notes, or the reason why a record cannot be analysed.
set -eu
folder=$1
dipx=${2:-dipx}
command -v "$dipx" >/dev/null || {
  echo "field_table.sh: $dipx was not found; give the path of the command after the folder" >&2
  exit 1
}
find "$folder" -type f \( -iname '*.cfg' -o -iname '*.cff' -o -iname '*.csv' -o -iname '*.tsv' -o -iname '*.pqd' -o -iname '*.pqdif' \) |
  LC_ALL=C sort | while IFS= read -r file; do
  name=${file#"$folder"/}
  if text=$("$dipx" analyse "$file" 2>&1 </dev/null); then
    printf '%s\n' "$text" | awk -v name="$name" '
      NR > 2 && / per cycle of / { rate = $0 }
      /^  voltages / { voltages = substr($0, 12) }
      /^event [0-9]+: / {
        sub(/^event [0-9]+: /, "")
        sub(/   /, " ")
        events = events "; " $0
      }
      /^  (residual voltage|highest Urms\(1\/2\)) .* % of the/ {
        sub(/^  /, "")
        sub(/ of the.*/, "")
        events = events ", " $0
      }
      /^  note: / { notes++ }
      END {
        sub(/^ */, "", rate)
        sub(/^; /, "", events)
        print "| " name " | " voltages " | " rate " | " (events == "" ? "no event" : events) " | " notes + 0 " |"
      }'
  else
    printf '| %s | | | not analysed: %s | |\n' "$name" "$(printf '%s' "$text" | sed 's/^dipx: //')"
  fi
done
