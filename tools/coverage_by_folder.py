#!/usr/bin/env python3
"""Prints the table of docs/testing.md from gcovr's summary: lines and branches that the tests reach, by folder."""

import collections
import json
import sys

folders = collections.defaultdict(lambda: [0, 0, 0, 0])
for file in json.load(open(sys.argv[1]))["files"]:
    parts = file["filename"].split("/")
    counts = folders["/".join(parts[:2]) + "/"]
    for i, key in enumerate(("line_covered", "line_total", "branch_covered", "branch_total")):
        counts[i] += file[key]
print("| folder | lines | reached | branches | reached |\n|---|---|---|---|---|")
folders["all"] = [sum(column) for column in zip(*folders.values())]
for name, (lines, all_lines, branches, all_branches) in folders.items():
    print(f"| {name} | {all_lines} | {100 * lines / all_lines:.1f} % | {all_branches} "
          f"| {100 * branches / max(all_branches, 1):.1f} % |")
