#!/usr/bin/env python3
"""Prints gcovr's summary floor by floor, and the files with the most lines that no test reaches."""

import collections
import json
import pathlib
import sys

files = json.loads(pathlib.Path(sys.argv[1]).read_text())["files"]
floors = collections.defaultdict(collections.Counter)
for file in files:
    parts = pathlib.PurePath(file["filename"]).parts
    for floor in (parts[1] if parts[0] == "src" else parts[0], "all"):
        for what in ("line_total", "line_covered", "branch_total", "branch_covered"):
            floors[floor][what] += file[what]

print("| floor | lines | reached | branches | reached |\n|---|---:|---:|---:|---:|")
for floor in ["base", "diag", "platform", "config", "mail", "monitor", "service", "tools", "all"]:
    row = floors[floor]
    cells = [f"{row[kind + '_total']:,} | {100 * row[kind + '_covered'] / max(1, row[kind + '_total']):.1f} %"
             for kind in ("line", "branch")]
    print(f"| {floor} | {' | '.join(cells)} |")

print("\nMost lines not reached:")
for file in sorted(files, key=lambda file: file["line_covered"] - file["line_total"])[:10]:
    print(f"  {file['line_total'] - file['line_covered']:4} of {file['line_total']:4}  {file['filename']}")
