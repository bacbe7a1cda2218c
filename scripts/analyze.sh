#!/usr/bin/env bash
# Clang's static analyzer over every portable source: follows ways through whole procedures, which takes twice as long as all
# of scripts/check.sh. Not part of test.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh analyze
build native-asan
start=$SECONDS
mapfile -t sources < <(joint_sources build/native-asan)
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 1 clang-tidy-19 -p build/native-asan --quiet --checks='-*,clang-analyzer-*' \
  --extra-arg=-Wno-unknown-warning-option 2>build/logs/analyze.err || fail "the analyzer has findings (see above)"
echo "analyzer: ${#sources[@]} joint sources in $((SECONDS - start)) s"
