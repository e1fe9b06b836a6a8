#!/usr/bin/env python3
"""Puts the lines that tests run, by folder, into docs/testing.md. usage: write_coverage.py SUMMARY

SUMMARY  what gcovr --json-summary wrote. (`./run coverage`)
"""

import json
import re
import sys
from collections import Counter
from pathlib import Path

PAGE = Path(__file__).parent / "testing.md"
BEGIN, END = "<!-- coverage -->", "<!-- end of coverage -->"


def main(summary):
    lines, covered = Counter(), Counter()
    for entry in json.loads(Path(summary).read_text())["files"]:
        for folder in (str(Path(entry["filename"]).parent), "all"):
            lines[folder] += entry["line_total"]
            covered[folder] += entry["line_covered"]
    folders = sorted(lines, key=lambda folder: (folder == "all", folder))
    table = ["| folder | lines | run by tests | share |", "|---|---|---|---|"]
    table += [f"| {f} | {lines[f]} | {covered[f]} | {covered[f] / lines[f]:.1%} |" for f in folders if lines[f]]
    text, count = re.subn(f"{BEGIN}.*?{END}", lambda _: "\n".join([BEGIN, *table, END]), PAGE.read_text(), flags=re.DOTALL)
    if count != 1:
        sys.exit(f"{PAGE} has no marks for the coverage")
    PAGE.write_text(text)


if __name__ == "__main__":
    main(*sys.argv[1:])
