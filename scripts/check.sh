#!/usr/bin/env bash
# Checks what no compiler does: the floors, where the operating system may be named, file lengths, format, headers that compile
# alone, cppcheck, clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

python3 scripts/check-tree.py

mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' | grep -v '^src/base/FoldTable.cpp$')
clang-format --dry-run --Werror "${sources[@]}"
echo "format: ${#sources[@]} files"

# Each header compiles alone, so no source depends on the order of its includes.
start=$SECONDS
mapfile -t headers < <(printf '%s\n' "${sources[@]}" | grep -E '^(src|tools|tests/support)/.*\.h$')
folders=(-Isrc -Itools -Itests)
alone() { # COMPILER HEADER...
  local compiler=$1
  shift
  printf '%s\n' "$@" | xargs -P "$(nproc)" -I{} sh -c 'echo "#include \"$1\"" | '"$compiler"' -std=c++20 -fsyntax-only -x c++ -I. \
    '"${folders[*]}"' - || exit 255' sh {} || fail "a header does not compile alone (see above)"
}
mapfile -t portable < <(printf '%s\n' "${headers[@]}" | grep -v /win32/)
mapfile -t windows < <(printf '%s\n' "${headers[@]}" | grep /win32/)
alone g++ "${portable[@]}"
alone 'x86_64-w64-mingw32-g++-posix -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0A00' "${windows[@]}"
echo "headers alone: ${#headers[@]} in $((SECONDS - start)) s"

start=$SECONDS
cppcheck --std=c++20 --language=c++ --enable=warning,performance,portability --inline-suppr --quiet -j "$(nproc)" \
  --suppressions-list=.cppcheck-suppressions -I src -I tools --error-exitcode=1 src tools || fail "cppcheck has findings"
echo "cppcheck: src and tools in $((SECONDS - start)) s"

# What is compiled natively is analysed natively; headers come along with their sources.
build native-asan
mapfile -t analysed < <(printf '%s\n' "${sources[@]}" | grep -E '^(src|tools)/.*\.cpp$' | grep -v '/win32/')
start=$SECONDS
printf '%s\n' "${analysed[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy-19 -p build/native-asan --quiet \
  --extra-arg=-Wno-unknown-warning-option 2>build/logs/clang-tidy.err ||
  fail "clang-tidy has findings (see above)"
echo "clang-tidy: ${#analysed[@]} files in $((SECONDS - start)) s"
