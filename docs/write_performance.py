#!/usr/bin/env python3
"""Puts measured tables into docs/performance.md and draws docs/plots/sizes.svg.

usage: write_performance.py TABLE HINTS SIZES

TABLE  what ravenfit_bench --markdown printed; HINTS what ravenfit_hints printed; SIZES what ravenfit_sizes printed.
(Debian: python3-matplotlib)
"""

import csv
import re
import sys
from pathlib import Path

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt

DOCS = Path(__file__).parent
MARKERS = ["-", "--", "-.", ":"]

plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "ravenfit", "font.size": 8, "font.family": "sans-serif"})


def replaced(page, name, text):
    """The page with what stands between the two marks of that name replaced."""
    begin, end = f"<!-- {name} -->", f"<!-- end of {name} -->"
    found = re.subn(re.escape(begin) + ".*?" + re.escape(end), lambda _: f"{begin}\n{text.strip()}\n{end}", page,
                    flags=re.DOTALL)
    if found[1] != 1:
        sys.exit(f"docs/performance.md has no marks for {name}")
    return found[0]


def draw(rows, path):
    names = rows[0][1:]
    size = [float(row[0]) for row in rows[1:]]
    panels = [("construction", [n for n in names if n.startswith("construct")], "breakpoints"),
              ("10^6 sites", [n for n in names if "(1e6)" in n], "breakpoints"),
              ("1000 breakpoints", [n for n in names if "a call" in n], "sites a call")]
    figure, axes = plt.subplots(1, 3, figsize=(9, 2.8), layout="constrained")
    for axis, (title, columns, label) in zip(axes, panels):
        for column, style in zip(columns, MARKERS):
            values = [float(row[1 + names.index(column)]) for row in rows[1:]]
            axis.loglog(size, values, style, color="#1f5fa8" if style == "-" else "#404040", linewidth=1.2,
                        label=re.sub(r"construct | \(.*\)| a call", "", column))
        axis.set_title(title, fontsize=9)
        axis.set_xlabel(label)
        axis.grid(color="#dddddd", linewidth=0.5)
        axis.legend(fontsize=7, frameon=False)
    axes[0].set_ylabel("ns an element")
    figure.savefig(path, metadata={"Date": None, "Creator": None})


def main():
    table, hints, sizes = (Path(name).read_text() for name in sys.argv[1:])
    path = DOCS / "performance.md"
    page = replaced(path.read_text(), "table", table)
    path.write_text(replaced(page, "hints", hints))
    draw(list(csv.reader(sizes.splitlines())), DOCS / "plots" / "sizes.svg")


main()
