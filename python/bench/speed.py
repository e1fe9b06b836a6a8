"""The package beside SciPy and NumPy, in one run. usage: speed.py [DOCS]

Each row is checked against the other party before it is timed, where both compute the same; the parties take turns, and the
best time of each counts, of the processor. The figure shows how many times faster the package is.
"""

import pathlib
import re
import sys
import time

import numpy as np
import scipy
import scipy.interpolate as si
from scipy import linalg
from scipy.stats import qmc

import ravenfit as rf
from ravenfit import random as rr
from ravenfit.qmc import Sobol

clock = time.thread_time  # all rows run in one thread, and other programs may have the processor
SECONDS = 0.7  # for each row


def best(calls, seconds=SECONDS):
    """Seconds of a call of each, the best of turns."""
    times = []
    for call in calls:  # warm, and how often to call in a turn
        call()
        begin = clock()
        call()
        times.append(clock() - begin)
    counts = [max(1, int(0.005 / max(t, 1e-7))) for t in times]
    found = [np.inf] * len(calls)
    end = clock() + seconds * len(calls)
    while clock() < end:
        for i, (call, count) in enumerate(zip(calls, counts)):
            turns = range(count)
            begin = clock()
            for _ in turns:
                call()
            found[i] = min(found[i], (clock() - begin) / count)
    return found


def rows():
    """(text, peer, ours, theirs, tolerance of equal results or None)"""
    rng = np.random.default_rng(1)

    def data(n):
        return np.cumsum(rng.uniform(0.5, 1.5, n)), rng.standard_normal(n)

    x, y = data(10_000)
    ours, theirs = rf.CubicSpline(x, y), si.CubicSpline(x, y)
    site = float(0.3 * x[-1])
    yield "one value", "SciPy", lambda: ours(site), lambda: theirs(site), 1e-9
    for text, sites in (
        ("1e6 random sites", rng.uniform(x[0], x[-1], 1_000_000)),
        ("1e6 sorted sites", np.sort(rng.uniform(x[0], x[-1], 1_000_000))),
    ):
        yield text, "SciPy", lambda s=sites: ours(s), lambda s=sites: theirs(s), 1e-9
    yield "integral", "SciPy", lambda: ours.integrate(10.0, 9000.0), lambda: theirs.integrate(10.0, 9000.0), 1e-9
    yield "all roots", "SciPy", lambda: ours.roots(extrapolate=False), lambda: theirs.roots(extrapolate=False), 1e-6
    x, y = data(100_000)
    for text, kind in (("CubicSpline", "CubicSpline"), ("Pchip", "PchipInterpolator"), ("Akima", "Akima1DInterpolator")):
        mine, other = getattr(rf, kind), getattr(si, kind)
        yield (
            f"make {text}, 1e5 points",
            "SciPy",
            lambda mine=mine: mine(x, y),
            lambda other=other: other(x, y),
            lambda a, b: np.testing.assert_allclose(a.c, b.c, rtol=1e-6, atol=1e-9),
        )
    dl, d, du, b = rng.random(99_999), 4 + rng.random(100_000), rng.random(99_999), rng.random(100_000)
    band = np.zeros((3, 100_000))
    band[0, 1:], band[1], band[2, :-1] = du, d, dl
    yield (
        "tridiagonal, 1e5",
        "SciPy",
        lambda: rf.solve_tridiagonal(dl, d, du, b),
        lambda: linalg.solve_banded((1, 1), band, b),
        1e-12,
    )
    sfmt, twister = rr.SFMT19937(1), rr.MT19937(1)
    pcg, mersenne = np.random.Generator(np.random.PCG64(1)), np.random.Generator(np.random.MT19937(1))
    fast, same = np.random.Generator(sfmt), np.random.Generator(twister)
    out = np.empty(1_000_000)
    yield "Generator.random, MT19937", "PCG64", lambda: same.random(out=out), lambda: pcg.random(out=out), None
    yield "Generator.random, SFMT19937", "PCG64", lambda: fast.random(out=out), lambda: pcg.random(out=out), None
    yield "Generator.normal, SFMT19937", "PCG64", lambda: fast.standard_normal(out=out), lambda: pcg.standard_normal(out=out), None
    yield "SFMT19937.uniform", "PCG64", lambda: sfmt.uniform(out=out), lambda: pcg.random(out=out), None
    yield "SFMT19937.normal", "PCG64", lambda: sfmt.normal(out=out), lambda: pcg.standard_normal(out=out), None
    yield "Generator.random, MT19937", "MT19937", lambda: same.random(out=out), lambda: mersenne.random(out=out), None
    for dimension in (2, 40):
        mine, other = Sobol(dimension, scramble=False), qmc.Sobol(dimension, scramble=False)
        yield (
            f"Sobol, {dimension} dimensions",
            "SciPy",
            lambda mine=mine: mine.random(1 << 16),
            lambda other=other: other.random(1 << 16),
            lambda a, b: np.testing.assert_array_equal(a[:, :2], b[:, :2]),
        )
        mine, other = Sobol(dimension, seed=1), qmc.Sobol(dimension, seed=1)
        yield (
            f"Sobol, {dimension} dimensions, scrambled",
            "SciPy",
            lambda mine=mine: mine.random(1 << 16),
            lambda other=other: other.random(1 << 16),
            None,
        )


def check(ours, theirs, how):
    if how is None:
        return
    a, b = ours(), theirs()
    if callable(how):
        how(a, b)
    else:
        np.testing.assert_allclose(a, b, rtol=how, atol=how * np.max(np.abs(b)))


def draw(found, path):
    import matplotlib

    matplotlib.use("Agg")
    matplotlib.rcParams["svg.hashsalt"] = "ravenfit"
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(7, 0.3 * len(found) + 1))
    places = range(len(found))[::-1]
    ratios = [theirs / ours for _, _, ours, theirs in found]
    axes.barh(places, ratios, color=["tab:blue" if r >= 1 else "tab:orange" for r in ratios])
    axes.set_yticks(places, [f"{text} ({peer})" for text, peer, _, _ in found])
    axes.set_xscale("log")
    axes.axvline(1, color="black", linewidth=0.8)
    for place, ratio in zip(places, ratios):
        axes.text(max(ratio, 1) * 1.04, place, f"{ratio:.1f}", va="center", fontsize=8)
    axes.set_xlim(0.5, 2 * max(ratios))
    axes.set_xlabel("times as fast as the one in parentheses")
    figure.savefig(path, metadata={"Date": None}, bbox_inches="tight")


def write(found, versions, page):
    lines = ["| row | beside | ours, us | theirs, us | times as fast |", "|---|---|---|---|---|"]
    for text, peer, ours, theirs in found:
        lines.append(f"| {text} | {peer} | {1e6 * ours:.4g} | {1e6 * theirs:.4g} | {theirs / ours:.2f} |")
    begin, end = "<!-- table by python/bench/speed.py -->", "<!-- end of the table -->"
    table = "\n".join([begin, *lines, "", versions[0].upper() + versions[1:] + ".", end])
    text, count = re.subn(f"{begin}.*?{end}", lambda _: table, page.read_text(), flags=re.DOTALL)
    if count != 1:
        sys.exit(f"{page} has no marks for the table")
    page.write_text(text)


def main(arguments):
    found = []
    facts = rf.info()
    versions = f"level {facts['level']}, NumPy {np.__version__}, SciPy {scipy.__version__}"
    print(versions)
    print(f"{'row':38} {'ravenfit':>12} {'peer':>12} {'ratio':>7}   microseconds")
    for text, peer, ours, theirs, how in rows():
        check(ours, theirs, how)
        mine, other = best([ours, theirs])
        found.append((text, peer, mine, other))
        print(f"{text + ' | ' + peer:38} {1e6 * mine:12.2f} {1e6 * other:12.2f} {other / mine:7.2f}", flush=True)
    if arguments:
        docs = pathlib.Path(arguments[0])
        draw(found, docs / "plots" / "python_speed.svg")
        write(found, versions, docs / "python.md")


if __name__ == "__main__":
    main(sys.argv[1:])
