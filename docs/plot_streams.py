#!/usr/bin/env python3
"""Draws two projections of the first points of every quasi-random sequence, an even one and one of the worst.

usage: python3 docs/plot_streams.py build/release/tools/show_streams docs/plots
"""

import subprocess
import sys
from pathlib import Path

import matplotlib

matplotlib.use("agg")
import matplotlib.pyplot as plt

POINTS = 512
# Dimension, and pairs of coordinates that count from 1.
SEQUENCES = {"sobol": (40, ((1, 2), (29, 30))), "niederreiter": (318, ((1, 2), (280, 281)))}

plt.rcParams.update({"font.size": 8, "font.family": "sans-serif"})


def main():
    show, folder = sys.argv[1], Path(sys.argv[2])
    for name, (dimension, pairs) in SEQUENCES.items():
        printed = subprocess.run([show, name, str(dimension), str(POINTS)], check=True, capture_output=True, text=True)
        columns = list(zip(*([float(x) for x in line.split()] for line in printed.stdout.splitlines())))
        figure, panels = plt.subplots(1, len(pairs), figsize=(7, 3.5), layout="constrained")
        for panel, (first, second) in zip(panels, pairs):
            panel.plot(columns[first - 1], columns[second - 1], "o", color="#1f5fa8", markersize=1.5)
            panel.set(xlim=(0, 1), ylim=(0, 1), aspect="equal")
            panel.set_title(f"coordinates {first} and {second}", fontsize=9)
            panel.grid(color="#dddddd", linewidth=0.5)
            panel.set_axisbelow(True)
        figure.savefig(folder / f"quasi_{name}.png", dpi=120, metadata={"Software": None})
        plt.close(figure)


if __name__ == "__main__":
    main()
