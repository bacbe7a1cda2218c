#!/usr/bin/env bash
# Checks what no compiler does: the floors, where the operating system may be named, file lengths, format, clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

python3 scripts/check-tree.py

mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' | grep -v '^src/base/FoldTable.cpp$')
clang-format --dry-run --Werror "${sources[@]}"
echo "format: ${#sources[@]} files"

# What is compiled natively is analysed natively; headers come along with their sources.
build native-asan
mapfile -t analysed < <(printf '%s\n' "${sources[@]}" | grep -E '^(src|tools)/.*\.cpp$' | grep -v '/win32/')
start=$SECONDS
printf '%s\n' "${analysed[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy-19 -p build/native-asan --quiet \
  --extra-arg=-Wno-unknown-warning-option 2>build/logs/clang-tidy.err ||
  fail "clang-tidy has findings (see above)"
echo "clang-tidy: ${#analysed[@]} files in $((SECONDS - start)) s"
