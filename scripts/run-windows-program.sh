#!/bin/sh
# run-windows-program.sh WINE PROGRAM [ARGUMENT...]: runs a Windows program. On a busy machine Wine now and then fails to start
# one, without a word; every program of ours says something, so one that failed in silence is started again.
out=$(mktemp) && err=$(mktemp) || exit 1
trap 'rm -f "$out" "$err"' EXIT
for attempt in 1 2 3; do
  "$@" >"$out" 2>"$err"
  code=$?
  [ $code -ne 0 ] && [ ! -s "$out" ] && [ $attempt -lt 3 ] || break
done
cat "$out"
cat "$err" >&2
exit $code
