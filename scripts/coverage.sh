#!/usr/bin/env bash
# Which lines and branches of the sources the native tests reach, floor by floor; build/coverage/index.html shows each line.
# What Windows alone has (win32 folders) is tested under Wine and not counted here.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh coverage
say "Tests with coverage"
build native-coverage
find build/native-coverage -name '*.gcda' -delete
quietly build/logs/coverage-tests.log ctest --test-dir build/native-coverage --parallel "$(nproc)" -E 'FaultPairs'
mkdir -p build/coverage
# Branches that only an exception of a called function takes are left out: each call would count as one.
quietly build/logs/gcovr.log gcovr --root . --filter src/ --filter tools/ --exclude '.*/win32/.*' --exclude-throw-branches \
  --gcov-ignore-parse-errors --json-summary build/coverage/summary.json --html-details build/coverage/index.html build/native-coverage
python3 scripts/coverage-table.py build/coverage/summary.json
