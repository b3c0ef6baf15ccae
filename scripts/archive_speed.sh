#!/bin/sh
# archive_speed.sh [RECORDS [MANY]]: makes small records (2000), and measures how fast dipx archive add analyses them with
# one worker and with two, next to a loop of dipx analyse in the shell, and how fast it passes over known records. With
# MANY, such as 100000, it then adds so many records with two workers, measures the memory of the workers while it does,
# and passes over them again. It prints tables of seconds, ratios and megabytes.
set -eu
cd "$(dirname "$0")/.."
count=${1:-2000}
many=${2:-0}
dipx=$PWD/build/release/command/dipx
[ -x "$dipx" ] || { echo "archive_speed.sh: build the preset release first" >&2; exit 1; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# make COUNT FOLDER: makes records of 100 different dips. A station of its own makes each of them another record.
make() {
  mkdir -p waves "$2"
  for i in $(seq 100); do
    [ -e "waves/$i.cfg" ] ||
      "$dipx" synth --rate 3200 --binary --noise 0.2 --seed "$i" --depth $((20 + i % 60)) -o "waves/$i.cfg"
  done
  python3 - "$1" "$2" <<'END'
import os
import sys
count, folder = int(sys.argv[1]), sys.argv[2]
waves = []
for i in range(1, 101):
    with open(f"waves/{i}.cfg", newline="") as config, open(f"waves/{i}.dat", "rb") as data:
        waves.append((config.read().split("\n", 1), data.read()))
for i in range(count):
    (first, rest), data = waves[i % 100]
    place = f"{folder}/{i // 1000}"
    os.makedirs(place, exist_ok=True)
    with open(f"{place}/r{i}.cfg", "w", newline="") as config:
        config.write(f"station {i % 50} record {i},{first.split(',', 1)[1]}\n{rest}")
    with open(f"{place}/r{i}.dat", "wb") as file:
        file.write(data)
END
}

# seconds COMMAND...: prints how long a command takes.
seconds() {
  begin=$(date +%s.%N)
  "$@" >/dev/null
  end=$(date +%s.%N)
  echo "$begin $end" | awk '{ printf "%.3f", $2 - $1 }'
}
each() { find records -name '*.cfg' -exec "$dipx" analyse -q {} ';'; }

make "$count" records
loop=$(seconds each)
one=$(seconds "$dipx" archive add one.db records --jobs 1)
two=$(seconds "$dipx" archive add two.db records --jobs 2)
known=$(seconds "$dipx" archive add two.db records)
awk -v count="$count" -v loop="$loop" -v one="$one" -v two="$two" -v known="$known" 'BEGIN {
  print "| run over the same " count " records | seconds | speed, relative to one worker |"
  print "|---|---|---|"
  printf "| loop of `dipx analyse` in a shell | %.2f | %.2f |\n", loop, one / loop
  printf "| `dipx archive add --jobs 1` | %.2f | 1 |\n", one
  printf "| `dipx archive add --jobs 2` | %.2f | %.2f |\n", two, one / two
  printf "| second run over known records | %.2f | %.0f |\n", known, one / known
}'
[ "$many" -gt 0 ] || exit 0

make "$many" many
python3 - "$dipx" "$many" <<'END'
import subprocess
import sys
import time

dipx, many = sys.argv[1], sys.argv[2]
command = [dipx, "archive", "add", "many.db", "many", "--jobs", "2"]


def megabytes(process):
    """Returns the largest resident memory of the workers of a run."""
    sizes = [0.0]
    try:
        with open(f"/proc/{process}/task/{process}/children") as children:
            workers = children.read().split()
        for worker in workers:
            with open(f"/proc/{worker}/statm") as about:
                sizes.append(int(about.read().split()[1]) * 4096 / 1e6)
    except (OSError, IndexError):
        pass  # a worker or the run has just ended
    return max(sizes)


begin = time.monotonic()
run = subprocess.Popen(command, stdout=subprocess.DEVNULL)
samples = []
while run.poll() is None:
    samples.append(megabytes(run.pid))
    time.sleep(0.2)
first = time.monotonic() - begin
samples = [sample for sample in samples if sample > 0]
begin = time.monotonic()
again = subprocess.run(command, capture_output=True, text=True, check=True).stdout
second = time.monotonic() - begin
known = next(line.split()[-1] for line in again.splitlines() if line.startswith("known already"))
tenth = max(1, len(samples) // 10)
print(f"\n| {many} records | |\n|---|---|")
print(f"| added with two workers | {first:.1f} s, {int(many) / first:.0f} records a second |")
print(f"| second run, {known} records known | {second:.1f} s |")
print(f"| largest memory of a worker in the first tenth of the time | {max(samples[:tenth]):.1f} MB |")
print(f"| largest memory of a worker in the last tenth of the time | {max(samples[-tenth:]):.1f} MB |")
END
