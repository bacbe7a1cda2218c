#!/usr/bin/env bash
# Runs what uses more than one thread under ThreadSanitizer: the service's control thread beside its main one, procedures and
# diagnostics on several threads, the folder watch, the mail transfer.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh threads
say "ThreadSanitizer"
targets=(base_tests diag_tests monitor_tests service_tests mail_tests)
build native-tsan "${targets[@]}"
# A fault of the processor is none of the threads'; the others would take minutes and have one thread.
without='*Fault*:MExceptionHandler*:MemoryTest*:*/MemoryTest*:Decisions*'
for target in "${targets[@]}"; do
  printf '%s ... ' "$target"
  TSAN_OPTIONS=halt_on_error=1:exitcode=66 quietly "build/logs/tsan-$target.log" "build/native-tsan/bin/$target" --gtest_filter="-$without"
  grep -E '^\[  PASSED' "build/logs/tsan-$target.log"
done
