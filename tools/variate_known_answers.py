"""Prints tests/data/variates.kat: normal and exponential quantiles of x / 2^59 by MPFR, each as a sum of two doubles.

usage: /usr/bin/python3 tools/variate_known_answers.py > tests/data/variates.kat
(Debian: python3-gmpy2)
"""

import random

import gmpy2
from gmpy2 import mpfr


def two(value):
    high = float(value)
    return "%r %r" % (high, float(value - mpfr(high)))


def normal_quantile(u):
    """Newton's iteration on the smaller tail, which is exact."""
    tail = min(u, 1 - u)
    root2 = gmpy2.sqrt(mpfr(2))
    z = gmpy2.sqrt(-2 * gmpy2.log(tail)) if tail < mpfr("0.1") else 2 * (mpfr("0.5") - tail)
    for _ in range(60):
        density = gmpy2.exp(-z * z / 2) / gmpy2.sqrt(2 * gmpy2.const_pi())
        step = (gmpy2.erfc(z / root2) / 2 - tail) / density
        z += step
        if abs(step) <= abs(z) * mpfr(2) ** -150:
            break
    else:
        raise ValueError(u)
    return z if u > 0.5 else -z


def main():
    gmpy2.get_context().precision = 220
    random.seed(20261124)
    outputs = [1, 2, 3, 1000003, 2**58, 2**58 - 1, 2**58 + 1, 2**58 + 2**20]
    outputs += [int(2**59 * t) + d for t in (0.075, 0.925, 1.388794386e-11, 0.2928932188134524, 0.7071) for d in (-1, 0, 1)]
    outputs += [2**59 - x for x in (1, 2, 12345)]
    outputs += [random.randrange(1, 2**59) for _ in range(60)]
    outputs += [int(2 ** random.uniform(0, 57)) for _ in range(40)]
    outputs += [2**59 - int(2 ** random.uniform(0, 57)) for _ in range(40)]
    print("# MPFR", gmpy2.mpfr_version(), "by tools/variate_known_answers.py")
    for x in outputs:
        u = mpfr(x) / 2**59
        print(x, two(normal_quantile(u)) if x != 2**58 else "0.0 0.0", two(-gmpy2.log1p(-u)))


main()
