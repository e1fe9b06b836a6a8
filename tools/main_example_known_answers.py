#!/usr/bin/env python3
"""Prints what the demonstration must print, by another way than the library's: exact fractions for the random
numbers, the spline from its second derivatives (the library solves for slopes), powers instead of Horner's rule."""

import math
from fractions import Fraction

MODULI = (16770647, 16770643, 16770623, 16770617)
MULTIPLIERS = (125, 117, 127, 126)
NX, LEFT, RIGHT, FREQUENCY = 9, 0.0, 2.0, 1.7


def sites(count):
    state = [7777777 % MODULI[0], 1, 1, 1]
    for _ in range(count):
        u = sum(Fraction(x, m) for x, m in zip(state, MODULI)) % 1
        yield float(LEFT + (RIGHT - LEFT) * u)
        state = [a * x % m for a, x, m in zip(MULTIPLIERS, state, MODULI)]


def natural_spline(h, y):
    """Coefficients a, b, c, d of every cell from the moments M_i = s''(x_i), M_0 = M_(n-1) = 0."""
    n = len(y)
    rhs = [6 * (y[i + 1] - 2 * y[i] + y[i - 1]) / h**2 for i in range(1, n - 1)]
    diagonal = [4.0] * len(rhs)
    for i in range(1, len(rhs)):
        diagonal[i] -= 1 / diagonal[i - 1]
        rhs[i] -= rhs[i - 1] / diagonal[i - 1]
    moments = [0.0] * n
    for i in reversed(range(len(rhs))):
        moments[i + 1] = (rhs[i] - moments[i + 2]) / diagonal[i]
    return [
        (
            y[i],
            (y[i + 1] - y[i]) / h - h * (2 * moments[i] + moments[i + 1]) / 6,
            moments[i] / 2,
            (moments[i + 1] - moments[i]) / (6 * h),
        )
        for i in range(n - 1)
    ]


def main():
    h = (RIGHT - LEFT) / (NX - 1)
    x = [LEFT + i * h for i in range(NX)]
    y = [math.sin(2 * math.pi * FREQUENCY * t) for t in x]
    cells = natural_spline(h, y)

    print("\n i  x(i)        y(i)")
    for i in range(NX):
        print(" %1d %+f   %+f" % (i, x[i], y[i]))
    print("\nCoefficients are calculated for a polynomial of the form:\n")
    print("Pi(x) = Ai + Bi*(x - x(i)) + Ci*(x - x(i))^2 + Di*(x - x(i))^3")
    print("    where x(i) <= x < x(i+1)")
    print("\nSpline coefficients for Y:")
    print(" i    Ai            Bi            Ci            Di")
    for i, cell in enumerate(cells):
        print(" %1d %+11.6f   %+11.6f   %+11.6f   %+11.6f" % ((i,) + cell))
    print("\nResults of interpolation:")
    print("                    Function value             Second derivative")
    print("    Sites         Obtained     Expected      Obtained    Expected")
    for s in sites(40):
        i = min(int((s - LEFT) / h), NX - 2)
        t = s - x[i]
        a, b, c, d = cells[i]
        value = a + b * t + c * t**2 + d * t**3
        second = 2 * c + 6 * d * t
        print(" %+11.6f   %+11.6f  %+11.6f   %+11.6f  %+11.6f" % (s, value, value, second, second))
    print("\n\nComputed interpolation results are correct")


main()
