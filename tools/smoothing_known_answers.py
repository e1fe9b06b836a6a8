"""Prints tests/data/smoothing.kat: smoothing splines by SciPy, whose penalty is the same.

usage: /usr/bin/python3 tools/smoothing_known_answers.py > tests/data/smoothing.kat
(Debian: python3-scipy)
"""

import numpy
import scipy
from scipy.interpolate import make_smoothing_spline


def row(title, values):
    print(title, len(values), *(repr(float(v)) for v in values))


def main():
    print("# SciPy", scipy.__version__, "by tools/smoothing_known_answers.py")
    random = numpy.random.default_rng(20261124)
    for n, width in ((5, 3.0), (14, 14.0), (60, 8.0)):
        x = numpy.cumsum(random.uniform(0.25, 1.75, n)) * width / n
        y = numpy.sin(x) + random.normal(0.0, 0.3, n)
        w = random.uniform(0.25, 4.0, n)
        for weights in (None, w):
            for lam in (1e-4, 1e-2, 1.0, None):
                # Its score leaves the weights of the residuals out, and its search may stop at a local minimum.
                if lam is None and (weights is not None or n != 60):
                    continue
                spline = make_smoothing_spline(x, y, weights, lam)
                print("case", "gcv" if lam is None else repr(lam))
                for title, values in (("x", x), ("y", y), ("w", numpy.ones(n) if weights is None else w)):
                    row(title, values)
                left = x[:-1]
                coefficients = [spline(left), spline(left, 1), spline(left, 2) / 2, spline(left + 0.0, 3) / 6]
                row("coeff", numpy.column_stack(coefficients).ravel())


main()
