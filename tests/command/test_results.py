"""Results beside those of SciPy and NumPy."""

import numpy
import pytest
from scipy import integrate, interpolate, stats

random = numpy.random.default_rng(7)
X = numpy.cumsum(random.uniform(0.5, 1.5, 40))
Y = numpy.c_[numpy.sin(X / 3), numpy.cumsum(random.uniform(0, 1, 40)) - 7.25]
SITES = numpy.linspace(X[0], X[-1], 301)


def csv(x, y):
    rows = "\n".join(",".join(map(repr, map(float, row))) for row in numpy.c_[x, y])
    return f"{','.join('tabcd'[:y.shape[1] + 1])}\n{rows}\n"


def close(is_, wanted, tolerance=1e-12):
    numpy.testing.assert_allclose(is_, wanted, rtol=tolerance, atol=tolerance)


CLOSED = numpy.r_[Y[:-1], Y[:1]]
GIVEN = random.normal(size=Y.shape)  # slopes, or second derivatives
H, D = numpy.diff(X)[:, None], numpy.diff(Y, axis=0) / numpy.diff(X)[:, None]


def hermite_with_other_ends():
    """Curvature 2 on the left, slope -1 on the right."""
    m = GIVEN.copy()
    m[0] = (6 * D[0] - 2 * m[1] - 2 * H[0]) / 4
    m[-1] = -1
    return interpolate.CubicHermiteSpline(X, Y, m)


def from_second_derivatives():
    """y'' is the broken line through them in every cell."""
    left, right = GIVEN[:-1], GIVEN[1:]
    return interpolate.PPoly(numpy.array([(right - left) / (6 * H), left / 2, D - H * (2 * left + right) / 6, Y[:-1]]), X)


def from_midpoints(middle):
    m = [(4 * middle - 3 * Y[0] - Y[1]) / H[0, 0]]
    for d in D[:-1]:
        m.append(2 * d - m[-1])
    return interpolate.PPoly(numpy.array([(D - m) / H, m, Y[:-1]]), X)


SPLINES = {
    "natural": ([], Y, lambda: interpolate.CubicSpline(X, Y, bc_type="natural")),
    "not-a-knot": (["--ends", "not-a-knot"], Y, lambda: interpolate.CubicSpline(X, Y)),
    "ends": (["--left", "slope=0.5", "--right", "curvature=-2"], Y,
             lambda: interpolate.CubicSpline(X, Y, bc_type=((1, [0.5, 0.5]), (2, [-2, -2])))),
    "periodic": (["--ends", "periodic"], CLOSED, lambda: interpolate.CubicSpline(X, CLOSED, bc_type="periodic")),
    "akima": (["--kind", "akima"], Y, lambda: interpolate.Akima1DInterpolator(X, Y)),
    "pchip": (["--kind", "pchip"], Y, lambda: interpolate.PchipInterpolator(X, Y)),
    "linear": (["--kind", "linear"], Y, lambda: interpolate.PPoly(
        numpy.array([D, Y[:-1]]), X)),
    "hermite": (["--kind", "hermite", "--slopes", "c,d"], numpy.c_[Y, GIVEN], lambda: interpolate.CubicHermiteSpline(X, Y, GIVEN)),
    "hermite-ends": (["--kind", "hermite", "--slopes", "c,d", "--left", "curvature=2", "--right", "slope=-1"], numpy.c_[Y, GIVEN],
                     hermite_with_other_ends),
    "second-derivatives": (["--kind", "second-derivatives", "--curvatures", "c,d"], numpy.c_[Y, GIVEN], from_second_derivatives),
    "quadratic": (["--kind", "quadratic", "--midpoints", "0.5,-7"], Y, lambda: from_midpoints(numpy.array([0.5, -7]))),
}


@pytest.mark.parametrize("name", SPLINES)
def test_splines(ravenfit, name):
    options, y, make = SPLINES[name]
    wanted = make()
    ravenfit.write("in.csv", csv(X, y))
    got = ravenfit.table("resample", "in.csv", "-n", len(SITES), *options)
    close(got, numpy.c_[SITES, wanted(SITES)])
    # The same by a curve, with derivatives at sites in any order, and the integral.
    ravenfit("fit", "in.csv", *options, "-o", "curve.rfit")
    sites = random.permutation(SITES[1:-1])
    ravenfit.write("sites.csv", "s\n" + "\n".join(map(repr, map(float, sites))))
    got = ravenfit.table("eval", "curve.rfit", "--at", "sites.csv", "--derivatives", "1,0")
    close(got, numpy.c_[sites, wanted(sites), wanted(sites, 1)], 1e-11)
    assert (got == ravenfit.table("eval", "in.csv", "--at", "sites.csv", "--derivatives", "0,1", *options)).all()
    a, b = X[2] + 0.1, X[30] - 0.2
    for file, more in (("curve.rfit", []), ("in.csv", options)):
        got = ravenfit.table("integrate", file, "--from", a, "--to", b, *more)
        close(got[0], [a, b, *wanted.antiderivative()(b) - wanted.antiderivative()(a)])


@pytest.mark.parametrize("kind", ["akima", "modified-akima", "pchip", "steffen", "bessel", "linear", "cubic", "hermite",
                                  "second-derivatives"])
def test_windows_have_the_values_of_the_whole(ravenfit, kind):
    x = numpy.cumsum(random.uniform(0.1, 2, 30000))
    given = {"hermite": "--slopes", "second-derivatives": "--curvatures"}.get(kind)
    y = random.normal(size=(30000, 120 if given else 60))
    numpy.save(ravenfit.folder / "in.npy", numpy.c_[x, y])
    ends = [] if kind in ("linear", "cubic") else ["--left", "slope=1", "--right", "curvature=3"]
    arguments = ["resample", "in.npy", "--step", 3.7, "--from", x[0] - 5, "--to", x[-1] + 5, "--kind", kind, *ends]
    arguments += [given, ",".join(map(str, range(62, 122)))] if given else []
    ravenfit(*arguments, "--outside", "clamp", "-o", "parts.npy")
    ravenfit(*arguments, "--outside", "clamp", "--sort", "-o", "whole.npy")  # which takes everything into memory
    parts, whole = (numpy.load(ravenfit.folder / name) for name in ("parts.npy", "whole.npy"))
    assert parts.shape == (int((x[-1] - x[0] + 10) / 3.7) + 1, 61)
    if kind == "cubic":
        close(parts, whole, 1e-13)
    else:
        assert (parts == whole).all()


def test_smoothing(ravenfit):
    y = Y + random.normal(scale=0.1, size=Y.shape)
    weights = random.uniform(0.2, 5, len(X))
    ravenfit.write("in.csv", csv(X, numpy.c_[y, weights]))
    for a, w, more in ((0, None, []), (1, None, []), (0, weights, ["--weights", "c"])):
        wanted = interpolate.make_smoothing_spline(X, y[:, a], w, lam=0.3)
        got = ravenfit.table("smooth", "in.csv", "-y", a + 2, "--lambda", 0.3, *more)
        close(got, numpy.c_[X, wanted(X)], 1e-8)
        # The score of cross-validation, by its definition: A's columns are the splines of unit vectors.
        got = ravenfit.table("smooth", "in.csv", "-y", a + 2, *more)
        lam = float(ravenfit.errors.split()[-1])

        def score(lam):
            hat = numpy.array([interpolate.make_smoothing_spline(X, e, w, lam=lam)(X) for e in numpy.eye(len(X))]).T
            off = (y[:, a] - hat @ y[:, a]) ** 2 * (1 if w is None else w)
            return numpy.sum(off) / (len(X) - numpy.trace(hat)) ** 2

        assert score(lam) < min(score(lam * 1.05), score(lam / 1.05))
        close(got[:, 1], interpolate.make_smoothing_spline(X, y[:, a], w, lam=lam)(X), 1e-5)
    # Rows that are joined weigh as much as they did: the stiffest spline is the least-squares line of all of them.
    x = numpy.repeat(X[:20], 2)
    ravenfit.write("in.csv", csv(x, numpy.c_[y.reshape(-1)[:40], weights]))
    got = ravenfit.table("smooth", "in.csv", "--weights", "b", "--mean-duplicates", "--lambda", 1e15)
    close(got[:, 1], numpy.polyval(numpy.polyfit(x, y.reshape(-1)[:40], 1, w=weights**0.5), X[:20]), 1e-9)


def test_sites(ravenfit):
    ravenfit.write("in.csv", "t,a\n0,0\n1,1\n2,2\n3,3\n")
    ravenfit.write("like.csv", "b,t\n9,0.5\n8,2.5\n")
    linear = ["resample", "in.csv", "--kind", "linear"]
    for options, sites in {
        ("--step", 0.1): numpy.minimum(numpy.arange(31) * 0.1, 3),
        ("--step", 0.7): numpy.arange(5) * 0.7,
        ("--step", 1, "--from", -1, "--to", 4.5): range(-1, 5),
        ("-n", 7): numpy.linspace(0, 3, 7),
        ("-n", 3, "--from", 1): [1, 2, 3],
        ("-n", 1): [0],
        ("--like", "like.csv", "--x", "t"): [0.5, 2.5],
        ("--at", "like.csv", "--outside", "nan"): [9, 8],
    }.items():
        got = ravenfit.table(*linear, *options)
        assert got[:, 0].tolist() == [float(s) for s in sites], options
        close(got[:, 1], [s if 0 <= s <= 3 or "nan" not in options else numpy.nan for s in sites])
    by_pipe = ravenfit("resample", "-", "-n", 7, "--kind", "linear", stdin=(ravenfit.folder / "in.csv").read_bytes())
    assert by_pipe == ravenfit(*linear, "-n", 7)
    for outside, values in {"clamp": [0, 3], "wrap": [2, 1], "7.5": [7.5, 7.5], "proceed": [-1, 4]}.items():
        assert ravenfit.table("eval", "in.csv", "--kind", "linear", "--sites", "-1,4", "--outside", outside)[:, 1].tolist() == values


@pytest.mark.parametrize("behind", ["", "# end\n\n", '120000,"0"\n', "\r\n" * 9])
def test_the_last_site_of_large_files(ravenfit, behind):
    """Whose last x is looked for at their end, and found where quotes forbid that."""
    rows = "".join(f"{i},{i % 7:020d}\n" for i in range(120000))
    ravenfit.write("in.csv", "t,a\n" + rows + behind)
    got = ravenfit.table("resample", "in.csv", "-n", 4, "--kind", "linear")
    close(got[:, 0], numpy.linspace(0, 120000 if '"' in behind else 119999, 4), 1e-15)


def test_sorting_and_means(ravenfit):
    ravenfit.write("in.csv", "t,a\n2,4\n0,0\n1,1\n2,6\n3,9\n2,5\n")
    ravenfit.write("ordered.csv", "t,a\n0,0\n1,1\n2,5\n3,9\n")
    wanted = ravenfit("resample", "ordered.csv", "--step", 0.25)
    assert ravenfit("resample", "in.csv", "--sort", "--mean-duplicates", "--step", 0.25) == wanted


def test_samples(ravenfit):
    def drawn(*arguments):
        ravenfit("sample", *arguments, "-o", "points.npy")
        return numpy.load(ravenfit.folder / "points.npy")

    sobol = stats.qmc.Sobol(2, scramble=False)
    sobol.fast_forward(1001)  # the origin is left out
    assert (drawn("sobol", "--dim", 2, "-n", "2^10", "--skip", "1k") == sobol.random(1024)).all()
    normal = drawn("sobol", "--dim", 2, "-n", 1000, "--normal", "--mean", 3, "--sigma", 0.5)
    points = drawn("sobol", "--dim", 2, "-n", 1000)
    close(normal, 3 + 0.5 * stats.norm.ppf(points + 2.0**-33), 1e-11)
    # NumPy seeds by an array as this generator does, and makes doubles of 53 bits out of the same words.
    words = numpy.random.RandomState([42]).randint(0, 2**32, 4000, dtype=numpy.uint32)
    assert (drawn("mt19937", "--dim", 4, "-n", 1000, "--seed", 42).ravel() == words / 2.0**32).all()
    assert (drawn("mt19937", "--dim", 4, "-n", 900, "--seed", 42, "--skip", 100).ravel() == words[400:] / 2.0**32).all()
    scrambled = drawn("sobol", "--dim", 8, "-n", 1024, "--scramble", 5)
    assert (numpy.sort((scrambled * 1024).astype(int), axis=0) == numpy.arange(1024)[:, None]).all()  # one in each stratum
    for name in "niederreiter mcg31 r250 mrg32k3a mcg59 wichmann-hill:272 mt2203:6023 sfmt19937".split():
        values = drawn(name, "-n", 20000)
        assert stats.kstest(values[100:, 0], "uniform").pvalue > 1e-6, name
    assert stats.kstest(drawn("mrg32k3a", "-n", 5000, "--exponential", "--mean", 2)[:, 0], "expon", (0, 2)).pvalue > 1e-6
    text = ravenfit("sample", "mt19937", "-n", 5, "--dim", 2, "--seed", 42, "--low", -1, "--high", 3)
    assert (numpy.loadtxt(text.decode().splitlines(), delimiter=",") == -1 + 4 * (words[:10].reshape(5, 2) / 2.0**32)).all()


def test_check(ravenfit):
    def found(text):
        rows = ravenfit("check", ravenfit.write("in.csv", text), code=code).decode().splitlines()
        return {row[:12].strip(): row[12:] for row in rows}

    code = 0
    facts = found("t,a\n" + "".join(f"{i},{i * i}\n" for i in range(30)))
    assert facts["order"] == "ascends" and facts["steps"] == "1 to 1, median 1" and facts["rows"] == "30"
    assert facts["hint"].startswith("DF_XHINT_UNIFORM") and facts["kind"].startswith('"a": pchip')
    noise = found("t,a\n" + "".join(f"{i ** 1.5},{(-1) ** i}\n" for i in range(30)))
    assert noise["kind"].startswith('"a": smooth') and noise["hint"].startswith("none")
    gap = found("t,a\n" + "".join(f"{i if i < 9 else i + 50},{i % 7 % 3}\n" for i in range(30)))
    assert gap["gaps"] == "1 above 10 median steps, the first of 51 after line 10"
    code = 1
    bad = found("t,a\n1,1\n0,x\n2,nan\n2,3\n1,4\n")
    assert bad["order"] == "2 steps back, the first in line 3; --sort sorts the rows"
    assert bad["duplicates"] == "1, the first in line 5; --mean-duplicates takes means"
    assert bad["no numbers"] == '2 in "a", the first in line 3'
