#!/bin/sh
# coverage.sh: reports by source which lines and branches of the embedded library its tests reach. Kernels are counted for
# the widest instruction set of this machine only, because the others are compiled from the same source. Branches that
# only exceptions take are left out, because the library throws none. Fails unless all lines and 95 % of the branches are
# reached.
# coverage.sh --rooms: prints the same figures for measure/, readers/ and command/, as their quick tests reach them. The
# command runs in processes of its own, which are counted as well.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh gcovr
cmake --preset coverage >/dev/null

rooms() {
  cmake --build --preset coverage --target measure_test readers_test analysis_test outputs_test command_test watch_test >/dev/null
  find build/coverage -name '*.gcda' -delete
  for tests in measure/measure readers/readers analysis/analysis outputs/outputs command/command command/watch; do
    # Counters cannot be written to a full disk or by another user, and take the time of tests that wait for signals.
    "build/coverage/tests/${tests}_test" --gtest_brief=1 ||
      echo "coverage.sh: the tests of $tests that failed are counted up to their failure"
  done
  for room in measure readers command; do
    echo "$room/"
    gcovr --root . --filter "$room/" --exclude-throw-branches --exclude-unreachable-branches --print-summary \
      build/coverage | sed -n '/^lines:/,$p'
  done
}
if [ "${1-}" = --rooms ]; then
  rooms
  exit
fi

cmake --build --preset coverage --target dipx_test failing_allocator_test >/dev/null
find build/coverage -name '*.gcda' -delete
build/coverage/tests/core/dipx_test --gtest_brief=1 --gtest_filter='-AMillion*'
build/coverage/tests/whole/failing_allocator_test --gtest_brief=1

widest=baseline
for kernel_set in avx2 avx512dq; do
  ! grep -qw "$kernel_set" /proc/cpuinfo || widest=${kernel_set%dq}
done
report() {
  gcovr --root . --filter sagx/ --filter dipx_dll_main.cpp --exclude-throw-branches --exclude-unreachable-branches "$@" \
    build/coverage
}
set -- --exclude-directories '.*dipx_choice\.dir'
for kernel_set in baseline avx2 avx512; do
  [ "$kernel_set" = "$widest" ] || set -- "$@" --exclude-directories ".*dipx_kernels_$kernel_set\.dir"
done
report "$@" --fail-under-line 100 --fail-under-branch 95
report "$@" --branches
