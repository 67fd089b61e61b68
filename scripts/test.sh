#!/usr/bin/env bash
# Installs what is needed, builds recast and runs all tests: plainly, under AddressSanitizer and
# UndefinedBehaviorSanitizer, and what is parallel under ThreadSanitizer; runs each fuzzer for some
# seconds. Safe to run again.
#
#   scripts/test.sh [--quick]      --quick runs the plain build's tests alone
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --quick ]; then
  scripts/setup.sh
else
  scripts/setup.sh --fuzz
fi
echo "test: formatting"
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror

run() {  # preset
  echo "test: building and testing \"$1\""
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1"
  ctest --preset "$1"
}
if [ "${1:-}" != --quick ]; then
  run tsan
  run asan
  run fuzz
fi
run developer
