#!/usr/bin/env python3
"""Draws what tools/sample_kinds prints on standard input: one SVG per spline kind in the folder given."""

import sys
from collections import defaultdict
from pathlib import Path

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt

SETS = {"smooth": (-0.7, 1.0), "step": (-0.4, 1.6), "outlier": (-1.5, 1.7)}

# Text stays text, and neither ids nor metadata depend on the run.
plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "ravenfit", "font.size": 8, "font.family": "sans-serif"})


def read(lines):
    """{kind: {(set, 'data' or 'curve'): ([x], [y])}}"""
    kinds = defaultdict(lambda: defaultdict(lambda: ([], [])))
    for line in lines:
        kind, name, role, x, y = line.split()
        xs, ys = kinds[kind][name, role]
        xs.append(float(x))
        ys.append(float(y))
    return kinds


def draw(rows, path):
    figure, panels = plt.subplots(1, len(SETS), figsize=(9, 2.4), layout="constrained")
    for panel, (name, limits) in zip(panels, SETS.items()):
        panel.plot(*rows[name, "curve"], color="#1f5fa8", linewidth=1.2)
        panel.plot(*rows[name, "data"], "o", color="#c03a2b", markersize=3.5)
        panel.set_ylim(*limits)
        panel.set_title(name, fontsize=9)
        panel.set_xlabel("x")
        panel.grid(color="#dddddd", linewidth=0.5)
        panel.set_axisbelow(True)
    panels[0].set_ylabel("value")
    figure.savefig(path, metadata={"Date": None, "Creator": None})
    plt.close(figure)


def main():
    folder = Path(sys.argv[1])
    kinds = read(sys.stdin)
    if not kinds:
        sys.exit("no curves on standard input")
    for kind, rows in kinds.items():
        draw(rows, folder / f"{kind}.svg")


if __name__ == "__main__":
    main()
