#!/usr/bin/env bash
# Builds the optimised native program and runs all measurements; prints one table. Takes a minute or two.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh
build native-release ovs_bench
quietly build/logs/bench.log build/native-release/bin/ovs_bench --benchmark_out=build/logs/bench.json \
  --benchmark_out_format=json "$@"
python3 - <<'END'
import json

MEGA = 1e6
print("| what | times | CPU time each | allocated each | working set before, after | spooled |")
print("|---|---:|---:|---:|---:|---:|")
for run in json.load(open("build/logs/bench.json"))["benchmarks"]:
    each = 1e9 / run["items_per_second"]
    times = round(run["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]] * run["iterations"] / each)
    bytes_each = f"{run['allocated']:,.0f} B" if "allocated" in run else ""
    memory = f"{run['ws before'] / MEGA:.2f}, {run['ws after'] / MEGA:.2f} MB" if "ws before" in run else ""
    spooled = f"{run['spooled'] / MEGA:,.0f} MB" if "spooled" in run else ""
    name = run["name"].split("/iterations")[0].replace("/", ", ")
    print(f"| {name} | {times:,} | {each:,.1f} ns | {bytes_each} | {memory} | {spooled} |")
END
