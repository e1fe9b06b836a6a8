"""The command `ravenfit` on 16 channels of 10^6 rows, resampled to 10^6 rows, beside copying the same bytes and beside pandas
with SciPy. usage: command.py PROGRAM FOLDER

Seconds of the best of some runs in which the parties take turns, files in the page cache. "read, write" reads the table and
writes its own numbers again, without a spline.
"""

import os
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

    print(f"{'row':24} {'ravenfit':>9} {'copy':>9} {'read, write':>12} {'with SciPy':>11}   seconds")
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
            best = dict.fromkeys(parties, float("inf"))
            for _ in range(RUNS):
                for name, run in parties.items():
                    begin = time.perf_counter()
                    run()
                    best[name] = min(best[name], time.perf_counter() - begin)
            print(f"{kind + ', ' + spline:24} {best['ravenfit']:9.2f} {best['copy']:9.2f} {best['read, write']:12.2f} {best['scipy']:11.2f}", flush=True)
    shutil.rmtree(folder)


main(sys.argv[1], sys.argv[2])
