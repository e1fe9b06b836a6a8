"""Prints tests/data/sobol_table.kat: rows of the table of S. Joe and F. Y. Kuo as SciPy carries it, and points that
SciPy makes of them.

usage: /usr/bin/python3 tools/sobol_table_known_answers.py [DIMENSIONS] > tests/data/sobol_table.kat
(Debian: python3-scipy)
"""

import os
import sys

import numpy
import scipy
from scipy.stats import qmc


def main():
    dimensions = int(sys.argv[1]) if len(sys.argv) > 1 else 19
    numbers = numpy.load(os.path.join(os.path.dirname(qmc.__file__), "_sobol_direction_numbers.npz"))
    print("# SciPy", scipy.__version__, "by tools/sobol_table_known_answers.py")
    for d in range(2, dimensions + 1):
        polynomial = int(numbers["poly"][d - 1])
        s = polynomial.bit_length() - 1
        print("row", d, s, polynomial >> 1 & (1 << (s - 1)) - 1, *numbers["vinit"][d - 1][:s])
    for first in (1, 1000):
        engine = qmc.Sobol(dimensions, scramble=False)
        engine.fast_forward(first)
        for i, point in enumerate(engine.random(3)):
            print("point", first + i, *(int(value * 2**30) for value in point))


main()
