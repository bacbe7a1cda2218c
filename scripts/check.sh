#!/usr/bin/env bash
# Checks what no compiler does: the floors, where the operating system may be named, file lengths, format, files that compile
# alone, cppcheck, clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

# checked WHAT START: says and notes how long a check took.
checked() {
  echo "$1 in $((SECONDS - $2)) s"
  took "check: $1" "$2"
}

start=$SECONDS
python3 scripts/check-tree.py
mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' | grep -v '^src/base/FoldTable.cpp$')
clang-format --dry-run --Werror "${sources[@]}"
checked "tree, format of ${#sources[@]} files" "$start"

build native-asan
scripts/windows-libraries.sh

# The builds join the sources of a folder (cmake/OvsUnity.cmake), so here each is read for itself, with the warning that a joint
# source cannot have. A source includes its own header first, which thereby compiles alone too; the other headers are read too.
start=$SECONDS
mapfile -t alone < <(printf '%s\n' "${sources[@]}" | grep -E '^(src|tools|tests/support)/' |
  while read -r file; do [[ $file == *.h && -e ${file%.h}.cpp ]] || echo "$file"; done)
for file in "${alone[@]}"; do
  header=${file%.cpp}.h
  [[ $file == *.h || ! -e $header ]] && continue
  first=$(grep -m 1 -o '^#include .*' "$file")
  [[ $first == *"${header##*/}\"" ]] || fail "$file does not include its own header first"
done
# read_alone FILES COMPILER FLAG...: FILES is the name of an array. A header is read through a line that includes it.
read_alone() {
  local -n files=$1
  shift
  local compile=("$@" -std=c++20 -fsyntax-only -Wshadow -Werror -Isrc -Itools -Itests -I. -isystem build/native-asan/headers -x c++)
  printf '%s\n' "${files[@]}" | grep '[.]cpp$' | xargs -r -P "$(nproc)" -n 6 "${compile[@]}" &&
    printf '%s\n' "${files[@]}" | grep '[.]h$' | xargs -r -P "$(nproc)" -I{} \
      sh -c 'file=$1; shift; echo "#include \"$file\"" | "$@" - || exit 255' sh {} "${compile[@]}" ||
    fail "a file does not compile alone (see above)"
}
mapfile -t portable < <(printf '%s\n' "${alone[@]}" | grep -v /win32/)
mapfile -t windows < <(printf '%s\n' "${alone[@]}" | grep /win32/)
read_alone portable g++
read_alone windows x86_64-w64-mingw32-g++-posix -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0A00 \
  -DCURL_STATICLIB -isystem build/windows-libraries/include
checked "${#alone[@]} files alone" "$start"

start=$SECONDS
cppcheck --std=c++20 --language=c++ --enable=warning,performance,portability --inline-suppr --quiet -j "$(nproc)" \
  --suppressions-list=.cppcheck-suppressions -I src -I tools --error-exitcode=1 src tools || fail "cppcheck has findings"
checked "cppcheck" "$start"

# What is compiled natively is analysed natively, the joint sources; headers come along with their sources.
start=$SECONDS
mapfile -t analysed < <(joint_sources build/native-asan)
printf '%s\n' "${analysed[@]}" | xargs -P "$(nproc)" -n 1 clang-tidy-19 -p build/native-asan --quiet \
  --extra-arg=-Wno-unknown-warning-option 2>build/logs/clang-tidy.err ||
  fail "clang-tidy has findings (see above)"
checked "clang-tidy over ${#analysed[@]} joint sources" "$start"
