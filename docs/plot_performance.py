#!/usr/bin/env python3
"""Draws the tables of docs/performance.md: what README shows of the first (speed.svg) and hints.md of the second.

usage: plot_performance.py FOLDER
"""

import re
import sys
from collections import defaultdict
from pathlib import Path

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt
from matplotlib.ticker import FuncFormatter, NullLocator

# Rows of the table, in groups, and what the picture calls them. Those where others are ahead are among them.
ROWS = {
    "Construction, 10000 breakpoints": {
        "construct natural, nx 10000, ny 1": "natural", "construct akima, nx 10000, ny 1": "Akima",
        "construct modified akima, nx 10000, ny 1": "modified Akima", "construct pchip, nx 10000, ny 1": "PCHIP",
        "construct steffen, nx 10000, ny 1": "Steffen"},
    "Values, 10000 breakpoints": {
        "value, sorted sites, nx 10000": "sorted sites", "value, random sites, nx 10000": "random sites",
        "value, uniform, random sites, nx 10000": "the same, equidistant breakpoints",
        "integral, pairs 3 cells apart, nx 10000": "integrals", "inverse, 1000000 values, nx 10000": "inverse"},
    "One value a call, 1024 breakpoints": {
        "one site a call, random, nx 1024": "random sites", "one site a call, walking, nx 1024": "one site after another"},
    "Random numbers, a million a call": {
        "MT19937, n 1000000": "MT19937", "MRG32k3a, n 1000000": "MRG32k3a",
        "Sobol, 5 dimensions, n 1000000": "Sobol, 5 dimensions", "integers, MT19937, n 1000000": "integers",
        "normal, n 1000000": "normal variates"},
    "One random number a call": {"MT19937, n 1": "MT19937"},
    "Tridiagonal systems, 10000 equations": {
        "solve, n 10000, nrhs 1": "1 right-hand side", "solve, n 10000, nrhs 64": "64 right-hand sides"},
}
PEERS = {"gsl": "GSL", "boost": "Boost", "lapack": "LAPACK", "std": "C++ library", "alglib": "ALGLIB", "fftw": "FFTW"}
HINTS = {"none": ("-", "o", "#000000"), "sorted": ("--", "s", "#1f5fa8"), "likely cell": (":", "^", "#c03a2b"),
         "quasi-uniform": ("-.", "D", "#3c7d3c"), "uniform": ("-", "v", "#888888")}
# Open marks of different size, so that equal times show both.
MARKER_SIZES = {"o": 4, "s": 4, "^": 8, "D": 4, "v": 5}
# Sites and how many of them a call has.
PANELS = [("random", "1000000"), ("sorted", "1000000"), ("about one cell", "1000000"), ("random", "1")]

plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "ravenfit", "font.size": 8, "font.family": "sans-serif"})


def table(lines):
    """The rows of a Markdown table, each as {heading: text}; other lines are passed over."""
    heading = None
    for line in lines:
        if not line.startswith("|"):
            continue
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        if heading is None:
            heading = cells
        elif not set(line) <= set("|-: \n"):
            yield dict(zip(heading, cells))


def between(page, name):
    return re.search(f"<!-- {name} -->(.*?)<!-- end of {name} -->", page, re.DOTALL)[1]


def save(figure, path):
    figure.savefig(path, metadata={"Date": None, "Creator": None})
    plt.close(figure)


def draw_speed(page, path):
    measured = {row["row"]: row for row in table(between(page, "table").splitlines())}
    missing = [name for rows in ROWS.values() for name in rows if not measured.get(name, {}).get("peer")]
    if missing:
        sys.exit("docs/performance.md has no peer for: " + "; ".join(missing))
    figure, axis = plt.subplots(figsize=(8, 5.4), layout="constrained")
    y, ticks = 0, {}
    for group, rows in ROWS.items():
        ticks[y] = group
        y += 1
        for name, label in rows.items():
            ratio, peer = float(measured[name]["peer"].rstrip("x")), measured[name]["which"]
            ahead = ratio >= 1
            axis.barh(y, ratio - 1, left=1, height=0.7, color="#1f5fa8" if ahead else "#dddddd",
                      edgecolor="#222222", linewidth=0.5, hatch="" if ahead else "////")
            axis.annotate(f"{ratio:.3g}  {PEERS.get(peer, peer)}", (ratio if ahead else 1, y), xytext=(4, 0),
                          textcoords="offset points", va="center")
            ticks[y] = label
            y += 1
    axis.set_yticks(list(ticks), list(ticks.values()))
    for label in axis.get_yticklabels():
        label.set_weight("bold" if label.get_text() in ROWS else "normal")
    axis.set_xscale("log", base=2)
    axis.xaxis.set_major_formatter(FuncFormatter(lambda v, _: f"{v:g}" if v >= 1 else f"1/{1 / v:g}"))
    axis.axvline(1, color="#000000", linewidth=0.8)
    axis.margins(x=0.14)
    axis.set_ylim(y - 0.4, -0.7)
    axis.tick_params(axis="y", length=0)
    axis.set_xlabel("time of the best other library, as a multiple of ours")
    axis.grid(axis="x", color="#dddddd", linewidth=0.5)
    axis.set_axisbelow(True)
    for side in ("top", "right", "left"):
        axis.spines[side].set_visible(False)
    save(figure, path)


def draw_hints(page, path):
    times = defaultdict(lambda: ([], []))  # {(sites, a call, hint): ([nx], [ns])}
    for nx, rows in re.findall(r"(\d+) breakpoints:\s*\n((?:\s*\|.*\n)+)", between(page, "hints")):
        for row in table(rows.splitlines()):
            for hint in HINTS:
                if row["partition"] == "uniform" and row[hint]:
                    for values, value in zip(times[row["sites"], row["a call"], hint], (nx, row[hint])):
                        values.append(float(value))
    figure, axes = plt.subplots(1, len(PANELS), figsize=(10, 2.9), sharey=True, layout="constrained")
    for axis, (sites, call) in zip(axes, PANELS):
        for hint, (line, marker, color) in HINTS.items():
            if (sites, call, hint) in times:
                axis.loglog(*times[sites, call, hint], linestyle=line, marker=marker, color=color, fillstyle="none",
                            markersize=MARKER_SIZES[marker], linewidth=1.2, label=hint)
        axis.set_title(f"{sites}, {'one' if call == '1' else '10^6'} a call", fontsize=9)
        axis.set_xlabel("breakpoints")
        axis.grid(color="#dddddd", linewidth=0.5)
    axes[0].set_yticks([0.3, 1, 3, 10, 30], ["0.3", "1", "3", "10", "30"])
    axes[0].yaxis.set_minor_locator(NullLocator())
    axes[0].set_ylabel("ns a site")
    handles = {label: handle for axis in axes for handle, label in zip(*axis.get_legend_handles_labels())}
    axes[-1].legend([handles[hint] for hint in HINTS], list(HINTS), title="hint", loc="upper left", bbox_to_anchor=(1.02, 1),
                    frameon=False)
    save(figure, path)


def main():
    docs, folder = Path(__file__).parent, Path(sys.argv[1])
    page = (docs / "performance.md").read_text()
    draw_speed(page, folder / "speed.svg")
    draw_hints(page, folder / "hints.svg")


main()
