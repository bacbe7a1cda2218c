#!/usr/bin/env bash
# Builds the optimised native program and runs all measurements; prints one table. Takes about a minute. Each group runs in
# a process of its own, so that the working sets are its own too.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh
build native-release ovs_bench
groups=('^(Traced|Plain)' '^SoakProcedures/dump off' '^SoakProcedures/dump on' '^SoakRecords' 'Setting')
rm -f build/logs/bench-*.json
for i in "${!groups[@]}"; do
  quietly "build/logs/bench-$i.log" build/native-release/bin/ovs_bench --benchmark_filter="${groups[i]}" \
    --benchmark_out="build/logs/bench-$i.json" --benchmark_out_format=json "$@"
done
python3 - <<'END'
import json
import pathlib

MEGA = 1e6
print("| what | times | CPU time each | allocated each | working set before, after | spooled |")
print("|---|---:|---:|---:|---:|---:|")
runs = [run for path in sorted(pathlib.Path("build/logs").glob("bench-*.json"))
        for run in json.loads(path.read_text())["benchmarks"]]
for run in runs:
    each = 1e9 / run["items_per_second"]
    times = round(run["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]] * run["iterations"] / each)
    bytes_each = f"{run['allocated']:,.0f} B" if "allocated" in run else ""
    memory = f"{run['ws before'] / MEGA:.2f}, {run['ws after'] / MEGA:.2f} MB" if "ws before" in run else ""
    spooled = f"{run['spooled'] / MEGA:,.0f} MB" if "spooled" in run else ""
    name = run["name"].split("/iterations")[0].replace("/", ", ")
    print(f"| {name} | {times:,} | {each:,.1f} ns | {bytes_each} | {memory} | {spooled} |")
END
