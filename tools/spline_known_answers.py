"""Prints tests/data/splines.kat: splines of every kind by SciPy and NumPy, GSL (Steffen), Boost (modified Akima).

usage: python3 tools/spline_known_answers.py > tests/data/splines.kat
(Debian: python3-scipy, libgsl-dev, libboost-math-dev, g++)
"""

import ctypes
import subprocess
import tempfile

import numpy
import scipy
from scipy.interpolate import (Akima1DInterpolator, BSpline, CubicHermiteSpline, CubicSpline, PchipInterpolator,
                               PPoly, make_interp_spline)

X = numpy.array([-2.0, -1.25, -1.0, 0.5, 0.75, 2.0, 2.5, 4.0, 4.25, 5.0])
Y = numpy.array([0.5, 1.5, 1.25, -2.0, -1.0, 3.0, 2.75, 0.25, 1.0, 0.5])
BC = [0.75, -1.5]
LIMITS = [-2.0, 5.0, -1.125, 4.1, -3.0, 2.25, 5.5, -2.25, -2.5]
VALUE = 0.4


def ascending(pieces):
    """Coefficients cell by cell, in ascending powers; PPoly has them by descending power."""
    return pieces.c[::-1].T.ravel()


def gsl_slopes(kind):
    gsl = ctypes.CDLL("libgsl.so")
    pointer = ctypes.c_void_p
    gsl.gsl_interp_alloc.restype = pointer
    gsl.gsl_interp_alloc.argtypes = [pointer, ctypes.c_size_t]
    gsl.gsl_interp_init.argtypes = [pointer] * 3 + [ctypes.c_size_t]
    gsl.gsl_interp_eval_deriv.restype = ctypes.c_double
    gsl.gsl_interp_eval_deriv.argtypes = [pointer] * 3 + [ctypes.c_double, pointer]
    spline = gsl.gsl_interp_alloc(pointer.in_dll(gsl, kind), len(X))
    gsl.gsl_interp_init(spline, X.ctypes.data, Y.ctypes.data, len(X))
    return [gsl.gsl_interp_eval_deriv(spline, X.ctypes.data, Y.ctypes.data, at, None) for at in X]


def boost_slopes(name):
    values = lambda array: "{" + ",".join(repr(float(v)) for v in array) + "}"
    program = f"""
        #include <boost/math/interpolators/{name}.hpp>
        #include <cstdio>
        #include <vector>
        int main() {{
          const std::vector<double> x = {values(X)}, y = {values(Y)};
          std::vector<double> a = x, b = y;
          const boost::math::interpolators::{name}<std::vector<double>> spline(std::move(a), std::move(b));
          for (double at : x) std::printf("%.17g\\n", spline.prime(at));
        }}"""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["g++", "-x", "c++", "-std=c++17", "-", "-o", folder + "/slopes"], input=program, text=True,
                       check=True)
        return [float(line) for line in subprocess.check_output([folder + "/slopes"], text=True).split()]


def show(name, order, kind, bc_type, ic_type, ic, coefficients, pieces=None):
    row = lambda title, values: print(title, len(values), *(repr(float(v)) for v in values))
    pieces = pieces or PPoly(numpy.reshape(coefficients, (-1, order)).T[::-1], X)
    print("case", name.replace(" ", "-"), order, kind, bc_type, ic_type)
    row("ic", ic)
    # Integrals between neighbours of LIMITS, and where the spline has VALUE.
    row("integrals", [pieces.integrate(a, b, extrapolate=True) for a, b in zip(LIMITS, LIMITS[1:])])
    row("solutions", pieces.solve(VALUE, discontinuity=False, extrapolate=False))
    row("coeff", coefficients)


def main():
    print("# SciPy", scipy.__version__, "and NumPy", numpy.__version__, "by tools/spline_known_answers.py")
    for title, values in (("x", X), ("y", Y), ("bc", BC), ("limits", LIMITS), ("value", [VALUE])):
        print(title, len(values), *(repr(float(v)) for v in values))

    slopes = numpy.diff(Y) / numpy.diff(X)
    show("broken line", 2, 0, 0, 0, [], numpy.column_stack([Y[:-1], slopes]).ravel())

    for name, bc_type, ends in (("not a knot", 1, "not-a-knot"), ("free", 2, "natural"),
                                ("slope slope", 12, ((1, BC[0]), (1, BC[1]))),
                                ("slope curvature", 36, ((1, BC[0]), (2, BC[1]))),
                                ("curvature slope", 24, ((2, BC[0]), (1, BC[1]))),
                                ("curvature curvature", 48, ((2, BC[0]), (2, BC[1]))),
                                ("periodic", 64, "periodic")):
        spline = CubicSpline(X, Y, bc_type=ends)
        show("natural " + name, 4, 2, bc_type, 0, [], ascending(spline))
        # The same spline from its own second derivatives and slopes.
        if bc_type == 48:
            show("second derivatives " + name, 4, 0, bc_type, 2, spline(X, 2)[1:-1], ascending(spline))
        if bc_type == 12:
            show("hermite of a spline", 4, 3, bc_type, 1, spline(X, 1)[1:-1], ascending(spline))

    given = numpy.cos(X)
    given[[0, -1]] = BC
    show("hermite", 4, 3, 12, 1, given[1:-1], ascending(CubicHermiteSpline(X, Y, given)))
    parabolas = numpy.gradient(Y, X)
    parabolas[[0, -1]] = BC
    show("bessel", 4, 4, 12, 0, [], ascending(CubicHermiteSpline(X, Y, parabolas)))
    show("akima", 4, 5, 0, 0, [], ascending(Akima1DInterpolator(X, Y)))
    show("modified akima", 4, 0x101, 0, 0, [], ascending(CubicHermiteSpline(X, Y, boost_slopes("makima"))))
    show("pchip", 4, 0x102, 0, 0, [], ascending(PchipInterpolator(X, Y)))
    show("steffen", 4, 0x103, 0, 0, [], ascending(CubicHermiteSpline(X, Y, gsl_slopes("gsl_interp_steffen"))))

    # Collocation in B-splines: the data and one value between the first two breakpoints.
    knots = numpy.concatenate([[X[0]] * 2, X, [X[-1]] * 2])
    sites = numpy.insert(X, 1, 0.5 * (X[0] + X[1]))
    matrix = BSpline.design_matrix(sites, knots, 2).toarray()
    coefficients = numpy.linalg.solve(matrix, numpy.insert(Y, 1, BC[0]))
    pieces = PPoly.from_spline(BSpline(knots, coefficients, 2))
    show("quadratic", 3, 0, 128, 0, [], ascending(PPoly(pieces.c[:, 2:-2], X)))

    inner = X[:-1] + numpy.linspace(0.3, 0.7, len(X) - 1) * numpy.diff(X)
    knots = numpy.concatenate([[X[0]] * 3, inner, [X[-1]] * 3])
    for bc_type, left, right in ((12, 1, 1), (36, 1, 2), (24, 2, 1), (48, 2, 2)):
        spline = make_interp_spline(X, Y, 2, knots, ([(left, BC[0])], [(right, BC[1])]))
        pieces = numpy.column_stack([spline(X), spline(X, 1), 0.5 * spline(X, 2)])
        show("subbotin %d" % bc_type, 3, 1, bc_type, 8, numpy.concatenate([X[:1], inner, X[-1:]]),
             pieces.ravel(), PPoly.from_spline(spline))


main()
