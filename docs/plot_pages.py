#!/usr/bin/env python3
"""Draws what tools/sample_plots prints on standard input, an SVG for each picture, in the folder given."""

import sys
from collections import defaultdict
from pathlib import Path

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt

# Curves differ by line style and by shade, so that they can be told apart in grey.
STYLES = [("-", "#000000"), ("--", "#1f5fa8"), (":", "#000000"), ("-.", "#c03a2b"), ((0, (6, 1, 1, 1, 1, 1)), "#3c7d3c"),
          ((0, (1, 3)), "#1f5fa8"), ((0, (8, 3)), "#777777")]
LABELS = {"kinds": "x", "step": "x, in steps", "smoothing": "x", "disjoint": "place in the sequence", "error": "step h"}

plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "ravenfit", "font.size": 8, "font.family": "sans-serif"})


def read(lines):
    """{picture: {panel: {curve: ([x], [y])}}}"""
    pictures = defaultdict(lambda: defaultdict(lambda: defaultdict(lambda: ([], []))))
    for line in lines:
        picture, panel, curve, x, y = line.rstrip("\n").split("\t")
        xs, ys = pictures[picture][panel][curve]
        xs.append(float(x))
        ys.append(float(y))
    return pictures


def guides(axis, curves):
    """Lines of slope 2, 3 and 4 through the coarsest errors, and the claimed order beside."""
    steps = next(iter(curves.values()))[0]
    for order in (2, 3, 4):
        axis.loglog(steps, [0.02 * (h / steps[0]) ** order for h in steps], color="#bbbbbb", linewidth=3, zorder=0)
        axis.annotate(f"h^{order}", (steps[-1], 0.02 * (steps[-1] / steps[0]) ** order))


def draw(name, panels, path):
    figure, axes = plt.subplots(1, len(panels), figsize=(3.1 * len(panels) + 1.2, 3), layout="constrained", squeeze=False)
    for axis, (panel, curves) in zip(axes[0], panels.items()):
        styles = iter(STYLES)
        for curve, (x, y) in curves.items():
            if curve == "data":
                axis.plot(x, y, "o", color="#000000", markersize=3.5, label="data", zorder=3)
            elif name == "disjoint":
                axis.plot(x, y, "osD^"[int(curve[-1]) - 1], color=STYLES[int(curve[-1]) - 1][1], markersize=4, label=curve)
            else:
                style, color = next(styles)
                (axis.loglog if name == "error" else axis.plot)(x, y, linestyle=style, color=color, linewidth=1.2,
                                                                label=curve.replace("_", " "))
        if name == "error":
            guides(axis, curves)
        axis.set_xlabel(LABELS.get(name, "x"))
        axis.set_ylabel({"error": "largest error", "disjoint": "value"}.get(name, panel))
        axis.grid(color="#dddddd", linewidth=0.5)
        axis.set_axisbelow(True)
    handles, labels = axes[0][0].get_legend_handles_labels()
    axes[0][-1].legend(handles, labels, loc="upper left", bbox_to_anchor=(1.02, 1), frameon=False)
    figure.savefig(path, metadata={"Date": None, "Creator": None})
    plt.close(figure)


def main():
    pictures = read(sys.stdin)
    if not pictures:
        sys.exit("no curves on standard input")
    for name, panels in pictures.items():
        draw(name, panels, Path(sys.argv[1]) / f"{name}.svg")


if __name__ == "__main__":
    main()
