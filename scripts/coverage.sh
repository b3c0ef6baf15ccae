#!/bin/sh
# coverage.sh: which lines and branches of the library its own tests reach, by source, and each that they do not.
# Branches that only exceptions take are left out; the library throws none.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh gcovr
cmake --preset coverage >/dev/null
cmake --build --preset coverage --target dipx_test failing_allocator_test >/dev/null
find build/coverage -name '*.gcda' -delete
build/coverage/tests/core/dipx_test --gtest_brief=1 >/dev/null
for kernel_set in baseline avx2; do
  DIPX_INSTRUCTION_SET=$kernel_set build/coverage/tests/core/dipx_test --gtest_brief=1 --gtest_filter='-AMillion*' >/dev/null
done
build/coverage/tests/whole/failing_allocator_test --gtest_brief=1 >/dev/null
gcovr --root . --filter sagx/ --filter dipx_dll_main.cpp --exclude-throw-branches --exclude-unreachable-branches \
  --object-directory build/coverage --branches --txt build/coverage/branches.txt --txt-metric branch 2>/dev/null ||
  gcovr --root . --filter sagx/ --filter dipx_dll_main.cpp --exclude-throw-branches --exclude-unreachable-branches \
    --object-directory build/coverage --branches --output build/coverage/branches.txt
gcovr --root . --filter sagx/ --filter dipx_dll_main.cpp --exclude-throw-branches --exclude-unreachable-branches \
  --object-directory build/coverage
cat build/coverage/branches.txt
