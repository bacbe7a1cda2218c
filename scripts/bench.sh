#!/usr/bin/env bash
# Builds the optimised native program and runs all measurements; prints two tables. Takes some minutes. Each group runs in a
# process of its own, so that the working sets are its own too. Programs that do a part of the matching, where they are
# installed, are measured over the same records and texts.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh bench
build native-release ovs_bench ovs_workload
groups=('^(Traced|Plain)' '^SoakProcedures/dump off' '^SoakProcedures/dump on' '^SoakRecords' 'Setting' '^MailOf1KB'
  '^MailWith20MB' '^AlertLogs' '^FirstRecord' '^Exclusions' '^LongRun' '^YearsOfAlerts' '^(Scan|FoldOnce|Match|Job|Naive)')
rm -f build/logs/bench-*.json
for i in "${!groups[@]}"; do
  quietly "build/logs/bench-$i.log" build/native-release/bin/ovs_bench --benchmark_filter="${groups[i]}" \
    --benchmark_out="build/logs/bench-$i.json" --benchmark_out_format=json "$@"
done

rm -rf build/workload
build/native-release/bin/ovs_workload build/workload
records=$(wc -l <build/workload/lines.txt)
peers=build/logs/bench-peers.txt
: >"$peers"
# peer NAME COMMAND...: the user time of one record, less that of a run over a single one.
peer() {
  local label=$1 n few many
  shift
  command -v "$1" >/dev/null || return 0
  head -n 1 build/workload/lines.txt >build/workload/one.txt
  # Into a file: grep stops at the first match when nobody reads its output.
  for n in 10 100 1000; do
    few=$( { TIMEFORMAT=%U; time env LC_ALL=C "$@" -f build/workload/text-$n.txt build/workload/one.txt >build/workload/out.txt || true; } 2>&1)
    many=$( { TIMEFORMAT=%U; time env LC_ALL=C "$@" -f build/workload/text-$n.txt build/workload/lines.txt >build/workload/out.txt; } 2>&1)
    awk -v l="$label, $n texts" -v a="$few" -v b="$many" -v r="$records" 'BEGIN { printf "%s %.0f\n", l, (b - a) * 1e9 / r }' \
      >>"$peers"
  done
}
peer 'grep -ciF -f (which lines, not which rule)' grep -ciF
peer 'rg -ciF -f (the same)' rg -ciF
python3 bench/table.py build/logs "$peers"
