#!/usr/bin/env bash
# Clang's static analyzer over every portable source: follows ways through whole procedures, which takes twice as long as all
# of scripts/check.sh. Not part of test.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh
build native-asan
start=$SECONDS
mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- 'src/*.cpp' 'tools/*.cpp' | grep -v -e /win32/ -e FoldTable)
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy-19 -p build/native-asan --quiet --checks='-*,clang-analyzer-*' \
  --extra-arg=-Wno-unknown-warning-option 2>build/logs/analyze.err || fail "the analyzer has findings (see above)"
echo "analyzer: ${#sources[@]} files in $((SECONDS - start)) s"
