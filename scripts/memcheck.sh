#!/bin/sh
# memcheck.sh: runs a reduced set of the release build's tests under valgrind memcheck: whole analyses through both
# interfaces and in any order, reports, the decomposition, every reader, and the kept fuzzing inputs. Unlike the
# sanitizers, memcheck finds decisions that depend on uninitialised values. Any error or leak fails.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh valgrind
cmake --preset release >/dev/null
cmake --build --preset release --target dipx_test comtrade_replay csv_replay pqdif_replay lists_replay stages_replay >/dev/null
root=$PWD
seeds=$root/build/release/fuzz/seeds
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
memcheck() {
  name=$1
  program=$2
  shift 2
  echo "memcheck: $program $*"
  valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite,indirect,possible \
    --errors-for-leak-kinds=definite,indirect,possible "$root/build/release/$program" "$@" >"$name.out" 2>"$name.err" ||
    { tail -n 60 "$name.out" "$name.err"; exit 1; }
}
# Valgrind uses one processor, so the library is checked beside the readers.
memcheck library tests/core/dipx_test --gtest_brief=1 \
  --gtest_filter='Host.*:CopiedResults.*:BufferStyle.*:Report.*:AnalysedDip.*:Decomposition*:Matrices*:Vectors*:BoundaryCheck*:Seeds/MixedUse.*/[0-4]' &
library=$!
(
  memcheck comtrade fuzz/comtrade_replay "$seeds/comtrade" "$root/fuzz/regressions/comtrade" "$root/fuzz/records/comtrade"
  memcheck csv fuzz/csv_replay "$seeds/csv" "$root/fuzz/regressions/csv" "$root/fuzz/records/csv"
  memcheck pqdif fuzz/pqdif_replay "$seeds/pqdif"
  memcheck lists fuzz/lists_replay "$seeds/lists"
  memcheck stages fuzz/stages_replay "$seeds/stages" "$root/fuzz/regressions/stages"
) || { wait "$library"; exit 1; }
wait "$library"
echo "memcheck: no errors"
