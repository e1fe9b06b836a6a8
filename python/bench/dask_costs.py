"""What Dask costs: the mean of a spline at random sites, in one process chunk by chunk and on two workers.
usage: dask_costs.py [MOST SITES]
"""

import resource
import sys
import time

import dask.array as da
import distributed
import numpy as np

import ravenfit as rf
import ravenfit.dask as rd
from ravenfit.random import MRG32k3a

CHUNK = 1_000_000


def peak():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024


def main(most):
    x = np.arange(10_000.0)
    spline = rf.CubicSpline(x, np.sin(x))
    with distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, dashboard_address=None
    ) as cluster, distributed.Client(cluster) as client:
        print(f"{'sites':>12} {'one process':>12} {'two workers':>12}  seconds   peak MB of a process, of each worker")
        n = CHUNK
        while n <= most:
            begin = time.perf_counter()
            bits, total = MRG32k3a(1), 0.0
            for _ in range(n // CHUNK):
                total += spline(bits.uniform(0, x[-1], CHUNK)).sum()
            alone = time.perf_counter() - begin
            begin = time.perf_counter()
            sites = rd.uniform(MRG32k3a(1), n, chunks=CHUNK, low=0, high=x[-1])
            found = client.compute(da.mean(rd.evaluate(spline, sites))).result()
            together = time.perf_counter() - begin
            assert abs(found - total / n) < 1e-12
            peaks = ", ".join(f"{p:.0f}" for p in client.run(peak).values())
            print(f"{n:12} {alone:12.2f} {together:12.2f}            {peak():.0f}; {peaks}", flush=True)
            n *= 10


if __name__ == "__main__":
    main(int(float(sys.argv[1])) if len(sys.argv) > 1 else 10**8)
