"""Prints the measurements of scripts/bench.sh as tables."""

import json
import pathlib
import sys

MEGA = 1e6
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
MATCHING = ("Scan", "FoldOnce", "Match", "Job", "Naive", "grep")


def load(folder):
    for path in sorted(pathlib.Path(folder).glob("bench-*.json"), key=lambda path: int(path.stem.split("-")[1])):
        yield from json.loads(path.read_text())["benchmarks"]


def each(run):
    """Nanoseconds of one item."""
    return 1e9 / run["items_per_second"]


def name(run):
    return run["name"].split("/iterations")[0].removesuffix("/real_time").replace("/", ", ")


def general(runs):
    print("| what | times | time each | allocated each | working set before, after | further |")
    print("|---|---:|---:|---:|---:|---|")
    for run in runs:
        time = each(run)
        total = run["real_time" if "real_time" in run["name"] else "cpu_time"] * NANOSECONDS[run["time_unit"]]
        times = round(total * run["iterations"] / time)
        bytes_each = f"{run['allocated']:,.0f} B" if "allocated" in run else ""
        memory = f"{run['ws before'] / MEGA:.2f}, {run['ws after'] / MEGA:.2f} MB" if "ws before" in run else ""
        further = [f"{key} {run[key] / MEGA:,.1f} MB" for key in ("spooled", "peak") if key in run]
        print(f"| {name(run)} | {times:,} | {time:,.1f} ns | {bytes_each} | {memory} | {', '.join(further)} |")


def matching(runs, peers):
    scan = {run["name"].split("/")[1]: each(run) for run in runs if run["name"].startswith("Scan")}
    fold = {run["name"].split("/")[1]: each(run) for run in runs if run["name"].startswith("FoldOnce")}
    print("| what | ns a record | records a second | ratio to S | ratio to one fold | memory a rule |")
    print("|---|---:|---:|---:|---:|---:|")
    for run in runs:
        kind = "synthetic" if "synthetic" in run["name"] else "recorded"
        time = each(run)
        memory = f"{run['memory']:,.0f} B" if "memory" in run else ""
        print(f"| {name(run)} | {time:,.0f} | {1e9 / time:,.0f} | {time / scan[kind]:,.1f} | {time / fold[kind]:,.1f} | {memory} |")
    for line in pathlib.Path(peers).read_text().splitlines():
        what, time = line.rsplit(" ", 1)
        time = float(time)
        print(f"| {what} | {time:,.0f} | {1e9 / time:,.0f} | {time / scan['recorded']:,.1f} | "
              f"{time / fold['recorded']:,.1f} | |")


def main():
    runs = list(load(sys.argv[1]))
    general([run for run in runs if not run["name"].startswith(MATCHING)])
    print()
    matching([run for run in runs if run["name"].startswith(MATCHING)], sys.argv[2])


main()
