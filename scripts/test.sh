#!/usr/bin/env bash
# Builds everything and runs every test and check. One part alone: --native, --windows or --checks.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

part=${1:-all}
case $part in
  all | --native | --windows | --checks) ;;
  *) fail "usage: scripts/test.sh [--native | --windows | --checks]" ;;
esac
wants() { [ "$part" = all ] || [ "$part" = "$1" ]; }
start=$SECONDS
checks=
mkdir -p build/logs
export OVS_PARTS=$PWD/build/logs/parts
: >"$OVS_PARTS"
scripts/setup.sh test

# tests NAME COMMAND...
tests() {
  local name=$1 begin=$SECONDS
  shift
  "$@"
  took "$name" "$begin"
}

if wants --native; then
  say "Native build with AddressSanitizer and UndefinedBehaviorSanitizer"
  build native-asan
  export ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1
  tests "native tests" ctest --preset native-asan --parallel "$(nproc)" --progress
  scripts/fuzz.sh 3
fi

if wants --windows; then
  say "Windows build, tests under Wine"
  # The replay that the service's logs are compared with is the native one.
  build native-asan ovsctl
  build windows-x64
  # Tests under Wine wait half of their time, so the checks, which only read sources, run meanwhile.
  if [ "$part" = all ]; then
    setsid nice scripts/check.sh >build/logs/checks.log 2>&1 &
    checks=$!
    trap 'kill -- "-$checks" 2>/dev/null || true' EXIT
  fi
  tests "tests under Wine" scripts/with-wine.sh build/wine-tests ctest --preset windows-x64 --progress
fi

if wants --checks; then
  say "Checks"
  if [ -n "$checks" ]; then
    wait "$checks" || { cat build/logs/checks.log; exit 1; }
    cat build/logs/checks.log
  else
    scripts/check.sh
  fi
fi
say "All passed in $((SECONDS - start)) s"
cat "$OVS_PARTS"
