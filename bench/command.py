"""The command `ravenfit` on 16 channels of 10^6 rows, resampled to 10^6 rows, beside copying the same bytes and beside pandas
with SciPy. usage: command.py PROGRAM FOLDER

Seconds, and those of all cores together (user and system), each the best of some runs in which the parties take turns, files
in the page cache. "read, write" reads the table and writes its own numbers again, without a spline.
"""

import os
import resource
import shutil
import subprocess
import sys
import time

import numpy
import pandas
from scipy import interpolate

ROWS = 1_000_000
CHANNELS = 16
RUNS = 3


def core_seconds():
    used = [resource.getrusage(who) for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)]
    return sum(usage.ru_utime + usage.ru_stime for usage in used)


def make(folder):
    random = numpy.random.default_rng(1)
    x = numpy.cumsum(random.uniform(0.5, 1.5, ROWS))
    y = numpy.sin(x[:, None] / (10 + numpy.arange(CHANNELS))) + 1e-3 * random.normal(size=(ROWS, CHANNELS))
    table = numpy.ascontiguousarray(numpy.c_[x, y])
    numpy.save(os.path.join(folder, "in.npy"), table)
    frame = pandas.DataFrame(table, columns=["t", *(f"c{k}" for k in range(CHANNELS))])
    frame.to_csv(os.path.join(folder, "in.csv"), index=False)
    return table


def main(program, folder):
    os.makedirs(folder, exist_ok=True)
    table = make(folder)
    source = {kind: os.path.join(folder, "in." + kind) for kind in ("csv", "npy")}
    result = {kind: os.path.join(folder, "out." + kind) for kind in ("csv", "npy")}

    def ours(kind, spline):
        subprocess.run([program, "resample", source[kind], "-n", str(ROWS), "--kind", spline, "-o", result[kind]], check=True)

    def spline_of(x, y, spline):
        return interpolate.Akima1DInterpolator(x, y) if spline == "akima" else interpolate.CubicSpline(x, y, bc_type="natural")

    def read(kind):
        return pandas.read_csv(source["csv"]).to_numpy() if kind == "csv" else numpy.load(source["npy"])

    def write(kind, values):
        if kind == "csv":
            pandas.DataFrame(values).to_csv(result["csv"], index=False)
        else:
            numpy.save(result["npy"], values)

    def scipy(kind, spline):
        data = read(kind)
        sites = numpy.linspace(data[0, 0], data[-1, 0], ROWS)
        write(kind, numpy.c_[sites, spline_of(data[:, 0], data[:, 1:], spline)(sites)])

    print(f"{'row':16} {'ravenfit':>14} {'copy':>14} {'read, write':>14} {'with SciPy':>14}   seconds (of all cores)")
    for kind in ("csv", "npy"):
        for spline in ("akima", "cubic"):
            ours(kind, spline)
            got = numpy.loadtxt(result[kind], delimiter=",", skiprows=1, max_rows=1000) if kind == "csv" else numpy.load(result[kind])
            wanted = spline_of(table[:, 0], table[:, 1:], spline)(got[:, 0])
            assert numpy.abs(got[:, 1:] - wanted).max() < 1e-9, "wrong result"
            parties = {
                "ravenfit": lambda: ours(kind, spline),
                "copy": lambda: shutil.copyfile(source[kind], result[kind]),
                "read, write": lambda: write(kind, read(kind)),
                "scipy": lambda: scipy(kind, spline),
            }
            best = dict.fromkeys(parties, (float("inf"), float("inf")))
            for _ in range(RUNS):
                for name, run in parties.items():
                    begin, used = time.perf_counter(), core_seconds()
                    run()
                    spent = time.perf_counter() - begin, core_seconds() - used
                    best[name] = tuple(map(min, best[name], spent))
            print(f"{kind + ', ' + spline:16}", *(f"{t:6.2f} ({c:5.2f})" for t, c in best.values()), flush=True)
    shutil.rmtree(folder)


main(sys.argv[1], sys.argv[2])
