#!/usr/bin/env python3
"""Draws what tools/sample_plots prints on standard input, an SVG for each picture, in the folder given."""

import math
import sys
from collections import defaultdict
from pathlib import Path

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt
from matplotlib.ticker import MaxNLocator

# Curves differ by line style and by shade, so that they can be told apart in grey.
STYLES = [("-", "#000000"), ("--", "#1f5fa8"), (":", "#000000"), ("-.", "#c03a2b"), ((0, (6, 1, 1, 1, 1, 1)), "#3c7d3c"),
          ((0, (1, 3)), "#1f5fa8"), ((0, (8, 3)), "#777777")]
LABELS = {"kinds": "x", "step": "x, in steps", "smoothing": "x", "disjoint": "place in the sequence", "error": "step h"}

TRUTH = "without noise"

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


def save(figure, path):
    figure.savefig(path, metadata={"Date": None, "Creator": None})
    plt.close(figure)


def draw_beside(name, panels, path):
    """A column for each curve, a row for each panel; behind a curve the true one, or all others, so that what is equal
    stays visible."""
    kinds = [curve for curve in next(iter(panels.values())) if curve not in ("data", TRUTH)]
    many = len(kinds) > 3
    figure, axes = plt.subplots(len(panels), len(kinds), layout="constrained", sharex=True, sharey="row", squeeze=False,
                                figsize=(10.5, 1.4 * len(panels) + 0.6) if many else (9, 2.6))
    for row, (panel, curves) in zip(axes, panels.items()):
        for axis, kind in zip(row, kinds):
            for other in [TRUTH] if TRUTH in curves else kinds:
                axis.plot(*curves[other], color="#c4c4c4", linewidth=0.7 if many else 2.5)
            axis.plot(*curves[kind], color="#000000", linewidth=1.4)
            if "data" in curves:
                axis.plot(*curves["data"], "o", color="#c03a2b", markersize=2.5 if many else 2)
            axis.grid(color="#eeeeee", linewidth=0.5)
            axis.set_axisbelow(True)
        row[0].set_ylabel(panel)
    for axis, kind in zip(axes[0], kinds):
        # A step goes from 0 to 1.
        overshoot = f", {max(max(curves[kind][1]) - 1, 0):.2g}" if name == "step" else ""
        axis.set_title(kind + overshoot, fontsize=9)
    axes[0][0].xaxis.set_major_locator(MaxNLocator(4, integer=True))
    axes[-1][0].set_xlabel(LABELS[name])
    save(figure, path)


def draw_error(name, panels, path):
    """Errors with their measured order at the end of each line, and what orders 2, 3 and 4 look like."""
    figure, axis = plt.subplots(figsize=(7, 4.6), layout="constrained")
    curves = panels["value"]
    below = math.inf
    for number, (h, error) in enumerate(curves.values()):
        style, color = STYLES[number % len(STYLES)]
        # Of two that are equal the later mark fits into the earlier one.
        axis.loglog(h, error, linestyle=style, color=color, marker="o^sDvx+*<>p"[number], markersize=max(9 - number, 4),
                    fillstyle="none", linewidth=1)
    # Labels from above to below, a line's height apart at least.
    for curve, (h, error) in sorted(curves.items(), key=lambda item: -item[1][1][-1]):
        below = min(error[-1], below / 4)
        order = math.log2(error[-2] / error[-1])
        axis.annotate(f"{curve}: h^{order:.1f}", (h[-1], error[-1]), xytext=(h[-1] / 1.5, below), ha="right", va="center",
                      arrowprops={"arrowstyle": "-", "color": "#888888", "linewidth": 0.5, "relpos": (1, 0.5), "shrinkB": 4})
    for order in (2, 3, 4):
        axis.plot([0.5, 0.05], [1e-8, 1e-8 / 10**order], color="#888888", linewidth=0.8)
        axis.annotate(f"h^{order}", (0.05, 1e-8 / 10**order), xytext=(-3, 0), textcoords="offset points", ha="right",
                      va="center")
    axis.set_xlim(left=1.2e-3)
    axis.set_xlabel(LABELS[name])
    axis.set_ylabel("largest error")
    axis.grid(color="#dddddd", linewidth=0.5)
    axis.set_axisbelow(True)
    save(figure, path)


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
                axis.plot(x, y, linestyle=style, color=color, linewidth=1.2, label=curve.replace("_", " "))
        axis.set_xlabel(LABELS.get(name, "x"))
        axis.set_ylabel(panel)
        axis.grid(color="#dddddd", linewidth=0.5)
        axis.set_axisbelow(True)
    handles, labels = axes[0][0].get_legend_handles_labels()
    axes[0][-1].legend(handles, labels, loc="upper left", bbox_to_anchor=(1.02, 1), frameon=False)
    save(figure, path)


def main():
    pictures = read(sys.stdin)
    if not pictures:
        sys.exit("no curves on standard input")
    for name, panels in pictures.items():
        {"kinds": draw_beside, "step": draw_beside, "smoothing": draw_beside, "error": draw_error}.get(name, draw)(name, panels, Path(sys.argv[1]) / f"{name}.svg")


if __name__ == "__main__":
    main()
