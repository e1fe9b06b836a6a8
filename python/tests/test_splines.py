"""Splines beside SciPy's, over random problems; what SciPy lacks, beside the mathematics; bad input; objects' manners."""

import copy
import gc
import pathlib
import pickle
import threading

import hypothesis.strategies as st
import numpy as np
import pytest
import scipy.interpolate as si
from hypothesis import given, settings

import ravenfit as rf

many = settings(max_examples=300)


def close(ours, theirs, scale, factor=1e-9):
    assert np.shape(ours) == np.shape(theirs)
    np.testing.assert_allclose(ours, theirs, rtol=1e-9, atol=factor * scale)


def largest(y):
    return np.max(np.abs(y)) or 1.0


@st.composite
def problem(draw, least=2, periodic=False):
    """x, y and axis; steps differ by up to 100, values by many orders between problems."""
    rng = np.random.default_rng(draw(st.integers(0, 2**32)))
    n = draw(st.integers(least, 40))
    x = np.cumsum(10.0 ** rng.uniform(-1, 1, n)) + draw(st.sampled_from([0.0, -20.0, 1000.0]))
    shape = draw(st.sampled_from([(), (), (3,), (2, 2)]))
    axis = draw(st.integers(-len(shape) - 1, len(shape)))
    y = rng.standard_normal((n, *shape)) * 10.0 ** draw(st.integers(-12, 12))
    if draw(st.booleans()):
        y = np.round(y / largest(y) * 3)  # flat stretches
    if periodic:
        y[-1] = y[0]
    return rng, x, np.moveaxis(y, 0, axis), axis


def compare(ours, theirs, rng, reach=0.3):
    """Everything that both have. Tolerances count from the sizes of the terms that are added."""
    np.testing.assert_array_equal(ours.x, theirs.x)
    assert ours.c.shape == theirs.c.shape
    low, high = ours.x[0], ours.x[-1]
    more = reach * (high - low)
    sites = np.concatenate([rng.uniform(low - more, high + more, 31), ours.x])
    sites[: len(sites) // 2].sort()
    shaped = sites[:30].reshape(2, 15)
    rows = len(theirs.c)
    values = np.max(np.abs(theirs(ours.x)))
    for nu in range(rows + 1):
        derived = si.PPoly(np.abs(theirs.c), theirs.x, theirs.extrapolate).derivative(nu)
        scale = np.nanmax(np.abs(derived(np.clip(sites, low, high))), initial=1e-300)
        # Differences of values are divided by steps, and pieces are continued.
        scale += values / np.min(np.diff(ours.x)) ** nu
        scale *= (1 + more / np.min(np.diff(ours.x))) ** max(rows - 1 - nu, 0)
        close(ours(sites, nu), theirs(sites, nu), scale)
        close(ours(shaped, nu), theirs(shaped, nu), scale)
        close(ours(sites[0], nu), theirs(sites[0], nu), scale)
        close(ours.derivative(nu)(sites), theirs.derivative(nu)(sites), scale)
    scale = np.max(np.abs(si.PPoly(np.abs(theirs.c), theirs.x).antiderivative()(high)), initial=1e-300)
    inside = np.sort(rng.uniform(low, high, 9))
    close(ours.antiderivative()(inside), theirs.antiderivative()(inside), scale)
    close(ours.antiderivative(2)(inside), theirs.antiderivative(2)(inside), scale * (high - low))
    for a, b in ((inside[0], inside[-1]), (high, low), (inside[5], inside[5])):
        close(ours.integrate(a, b), theirs.integrate(a, b), scale)
    assert np.isnan(ours(low - 1, extrapolate=False)).all() and np.isnan(theirs(low - 1, extrapolate=False)).all()


@given(problem(), st.data())
@many
def test_cubic_spline(case, data):
    rng, x, y, axis = case
    shape = np.delete(y.shape, axis)
    ends = ["not-a-knot", "clamped", "natural"]
    value = lambda: np.max(np.abs(y)) * rng.standard_normal(tuple(shape))
    pick = lambda: data.draw(st.sampled_from(ends + [(1, value()), (2, value())]))
    bc = data.draw(st.sampled_from(ends)) if data.draw(st.booleans()) else (pick(), pick())
    compare(rf.CubicSpline(x, y, axis, bc), si.CubicSpline(x, y, axis, bc), rng)


@given(problem(periodic=True))
@many
def test_periodic_cubic_spline(case):
    rng, x, y, axis = case
    if len(x) == 3:  # SciPy 1.10 adds up the slopes of all functions there
        y, axis = np.moveaxis(y, axis, 0).reshape(3, -1)[:, 0], 0
    ours, theirs = (m.CubicSpline(x, y, axis, "periodic") for m in (rf, si))
    assert ours.extrapolate == theirs.extrapolate == "periodic"
    a, b = x[0] - 2.3 * np.ptp(x), x[0] + 3.1 * np.ptp(x)
    close(ours.integrate(a, b), theirs.integrate(a, b), np.max(np.abs(theirs.c[-1])) * (b - a))
    sites = rng.uniform(a, b, 20)
    close(ours(sites), theirs(sites), np.max(np.abs(theirs(np.linspace(x[0], x[-1], 500)))) + 1e-300)


@given(problem())
@many
def test_pchip(case):
    rng, x, y, axis = case
    compare(rf.PchipInterpolator(x, y, axis), si.PchipInterpolator(x, y, axis), rng)


@given(problem(least=3))
@many
def test_akima(case):
    rng, x, y, axis = case
    compare(rf.Akima1DInterpolator(x, y, axis), si.Akima1DInterpolator(x, y, axis), rng)


@pytest.mark.parametrize("bend", [0.0, 1e-11, 4e-11, 2e-10, 5e-10, 3e-9, 1e-6])
@pytest.mark.parametrize("size", [1e-200, 1e-9, 1.0, 1e9, 1e200])
def test_akimas_weights_count_beside_the_largest(bend, size):
    """A kink between chords that bend by so little, in data of any size: the mean of the chords, or a quarter up."""
    chords = np.array([0, 0, 0, bend, 1, 1 + 3 * bend, 1 + 3 * bend, 3, 2, 3, 4])
    x = np.arange(12.0)
    y = np.concatenate([[0.0], np.cumsum(chords)])
    ours, theirs = rf.Akima1DInterpolator(x, size * y), si.Akima1DInterpolator(x, y)
    assert theirs.c[2, 4] == pytest.approx(0.25 if 4 * bend > 1e-9 * 3 else 0.5, abs=1e-3)
    np.testing.assert_allclose(ours.c / size, theirs.c, atol=1e-3)


@given(problem())
@many
def test_hermite_and_plain_pieces(case):
    rng, x, y, axis = case
    slopes = rng.standard_normal(y.shape) * np.max(np.abs(y))
    ours = rf.CubicHermiteSpline(x, y, slopes, axis)
    compare(ours, si.CubicHermiteSpline(x, y, slopes, axis), rng)
    c = np.stack([np.moveaxis(a, axis, 0)[1:] for a in (y, slopes, y + slopes, y, slopes)])
    rows = int(rng.integers(1, 6))
    compare(rf.PPoly(c[:rows], x), si.PPoly(c[:rows], x), rng, reach=0.05)


@given(problem())
@many
def test_linear(case):
    rng, x, y, axis = case
    ours = rf.LinearSpline(x, y, axis)
    chords = np.diff(y, axis=axis) / np.diff(x).reshape((-1,) + (1,) * (y.ndim - 1 - axis % y.ndim))
    first = np.moveaxis(y, axis, 0)[:-1]
    theirs = si.PPoly(np.stack([np.moveaxis(chords, axis, 0), first]), x)
    theirs.axis = axis % y.ndim
    compare(ours, theirs, rng)


@given(problem(least=5), st.floats(1e-6, 1e6))
@settings(max_examples=60)
def test_smoothing(case, lam):
    rng, x, y, axis = case
    x = x - x[0]
    y = np.moveaxis(y, axis, 0).reshape(len(x), -1)[:, 0]
    w = rng.uniform(0.5, 2, len(x))
    ours = rf.SmoothingSpline(x, y, w=w, lam=lam)
    assert ours.lam == lam
    theirs = si.make_smoothing_spline(x, y, w, lam)
    np.testing.assert_allclose(ours(x), theirs(x), atol=1e-6 * np.max(np.abs(y)))


def joins(spline, x, y, degree):
    """Passes through the points, and derivatives up to `degree` join."""
    np.testing.assert_allclose(spline(x), y, atol=1e-10)
    inner = spline.x[1:-1]
    for nu in range(degree + 1):
        np.testing.assert_allclose(spline(inner - 1e-9, nu), spline(inner, nu), atol=1e-5)


def test_kinds_that_scipy_lacks():
    rng = np.random.default_rng(5)
    x = np.cumsum(rng.uniform(0.5, 1.5, 12))
    y = rng.standard_normal((12, 2))
    for made, degree in (
        (rf.QuadraticSpline(x, y, midpoint=[0.3, -0.2]), 1),
        (rf.SubbotinSpline(x, y, bc_type=((1, [1.0, 2.0]), (2, [0.5, 0.25]))), 1),
        (rf.BesselSpline(x, y, bc_type=("not-a-knot", (1, [3.0, 4.0]))), 1),
        (rf.SteffenInterpolator(x, y), 1),
        (rf.Akima1DInterpolator(x, y, method="makima"), 1),
        (rf.SmoothingSpline(x, y, lam=0.0), 2),
    ):
        joins(made, x, y, degree)
    middle = 0.5 * (x[0] + x[1])
    np.testing.assert_allclose(rf.QuadraticSpline(x, y, midpoint=[0.3, -0.2])(middle), [0.3, -0.2])
    ends = rf.SubbotinSpline(x, y, bc_type=((1, [1.0, 2.0]), (2, [0.5, 0.25])))
    np.testing.assert_allclose(ends(x[0], 1), [1.0, 2.0])
    np.testing.assert_allclose(ends(x[-1], 2), [0.5, 0.25])
    bessel = rf.BesselSpline(x, y)
    for i in range(1, 11):  # slopes of parabolas through three neighbours
        parabola = np.polyfit(x[i - 1 : i + 2] - x[i], y[i - 1 : i + 2], 2)
        np.testing.assert_allclose(bessel(x[i], 1), parabola[1], rtol=1e-9)
    for kind in (rf.QuadraticSpline, rf.BesselSpline):
        for n in (3, 4, 12):
            np.testing.assert_allclose(kind(x[:n], x[:n] ** 2)(x[:n] + 0.1), (x[:n] + 0.1) ** 2, rtol=1e-9)
    steps = np.sort(rng.integers(0, 5, 12)).astype(float)
    for kind in (rf.SteffenInterpolator, rf.PchipInterpolator):
        assert (np.diff(kind(x, steps)(np.linspace(x[0], x[-1], 3000))) >= -1e-12).all()
    # Modified Akima by its formula, at a point far from the ends.
    d = np.diff(y[:, 0]) / np.diff(x)
    w1, w2 = (abs(d[i + 1] - d[i]) + abs(d[i + 1] + d[i]) / 2 for i in (5, 3))
    makima = rf.Akima1DInterpolator(x, y[:, 0], method="makima")
    assert makima(float(x[5]), 1) == pytest.approx((w1 * d[4] + w2 * d[5]) / (w1 + w2))


def test_crossvalidation_finds_the_signal():
    rng = np.random.default_rng(1)
    x = np.linspace(0, 6, 400)
    noisy = np.sin(x) + 0.2 * rng.standard_normal(400)
    assert np.std(rf.SmoothingSpline(x, noisy)(x) - np.sin(x)) < 0.06


@given(problem(least=4))
@many
def test_roots_against_sign_changes(case):
    rng, x, y, axis = case
    y = np.moveaxis(y, axis, 0).reshape(len(x), -1)[:, 0]
    y = y / largest(y) + 1e-3  # no touching, no flat zeros
    ours, theirs = (m.CubicSpline(x, y) for m in (rf, si))
    for level in (0.0, 0.21):
        want = theirs.solve(level, extrapolate=False)
        np.testing.assert_allclose(ours.solve(level, extrapolate=False), want, atol=1e-6 * np.ptp(x))
    assert len(ours.roots()) >= len(ours.roots(extrapolate=False))
    slope = ours.derivative()
    np.testing.assert_allclose(slope(slope.roots(extrapolate=False)), 0, atol=1e-7 * np.max(np.abs(slope(x))))


def test_roots_of_jumps_and_of_many():
    jump = rf.PPoly([[-1.0, 1.0, 2.0]], [0.0, 1.0, 2.0, 3.0])
    assert list(jump.roots()) == list(si.PPoly(jump.c.copy(), jump.x.copy()).roots()) == [1.0]
    assert list(jump.roots(discontinuity=False)) == []
    both = rf.LinearSpline([0, 1, 2], [[-1, 1], [1, 1], [1, -1]]).roots(extrapolate=False)
    assert both.shape == (2,) and list(both[0]) == [0.5] and list(both[1]) == [1.5]
    assert rf.LinearSpline([0, 1, 2], [0, 1, 3]).inverse([2.0, 0.5, 9.0])[:2] == pytest.approx([1.5, 0.5])


def test_what_goes_in_and_comes_out():
    x = np.arange(6.0)
    y = np.sin(x)
    s = rf.CubicSpline(x, y)
    for scalar in (2.5, np.float64(2.5), 2, np.float32(2.5)):
        assert s(scalar) == pytest.approx(si.CubicSpline(x, y)(scalar), rel=1e-12)
    assert type(s(2.5)) is float and type(s(2)) is float and type(s.integrate(0, 1)) is float
    assert isinstance(s(np.array(2.5)), np.ndarray) and s(np.array(2.5)).shape == ()
    assert s([]).shape == (0,) and s(np.empty((0, 3))).shape == (0, 3)
    sites = np.linspace(0, 5, 40)
    want = s(sites)
    for other in (sites.astype(">f8"), np.repeat(sites, 3)[::3], list(sites), sites.astype(object), np.ma.array(sites)):
        np.testing.assert_array_equal(s(other), want)
    np.testing.assert_array_equal(s(sites[::-2]), want[::-2])
    np.testing.assert_allclose(s(sites.astype(np.float32)), want, atol=1e-6)
    np.testing.assert_allclose(s(sites.astype(np.longdouble)), want)
    np.testing.assert_array_equal(rf.CubicSpline(list(range(6)), y[::-1][::-1])(sites), want)
    assert np.isnan(s(np.nan)) and np.isnan(s([1.0, np.nan])[1])
    value, third, first, again = s(sites, nu=(0, 3, 1, 0))
    np.testing.assert_array_equal(again, value)
    np.testing.assert_array_equal(value, want)
    np.testing.assert_array_equal(first, s(sites, 1))
    np.testing.assert_array_equal(third, s(sites, 3))
    again[:] = 0
    assert value[1] != 0
    two = rf.CubicSpline(x, np.stack([y, -y]), axis=1)
    value, first = two(sites, nu=(0, 1))
    np.testing.assert_allclose(value, np.stack([want, -want]), atol=1e-14)
    np.testing.assert_allclose(first[0], s(sites, 1), atol=1e-14)
    empty = rf.CubicSpline(x, np.empty((6, 0)))
    assert empty(sites).shape == (40, 0) and empty.derivative()(0.5).shape == (0,) and empty.integrate(0, 1).shape == (0,)
    assert s(9.0, extrapolate="clamp") == pytest.approx(y[-1])
    assert s(sites + 5, extrapolate="periodic")[10] == pytest.approx(s(sites[10]))
    with pytest.raises(ValueError, match="outside"):
        s([1.0, 9.0], extrapolate="raise")


def test_out():
    x = np.arange(8.0)
    y = np.cos(np.outer(x, [1, 2]))
    sites = np.linspace(0, 7, 30)
    for axis in (0, 1):
        s = rf.CubicSpline(x, np.moveaxis(y, 0, axis), axis=axis)
        want = s(sites)
        for out in (
            np.empty(want.shape),
            np.empty(want.shape, np.float32),
            np.empty(want.shape[::-1]).T,
            np.empty((want.shape[0], 2 * want.shape[1]))[:, ::2],
        ):
            assert s(sites, out=out) is out
            np.testing.assert_allclose(out, want, atol=1e-6)
        outs = np.empty(want.shape), np.empty(want.shape)
        s(sites, nu=(1, 0), out=outs)
        np.testing.assert_array_equal(outs[1], want)
    one = rf.CubicSpline(x, y[:, 0])
    want, buffer = one(sites, extrapolate="clamp"), np.concatenate([sites, [0.0]])
    one(buffer[:-1], out=buffer[1:], extrapolate="clamp")
    np.testing.assert_array_equal(buffer[1:], want)
    frozen = np.empty(30)
    frozen.flags.writeable = False
    for out, error in (
        (frozen, ValueError),
        (np.empty(29), ValueError),
        (np.empty(30, int), TypeError),
        ([0.0] * 30, TypeError),
    ):
        with pytest.raises(error, match="out"):
            one(sites, out=out)


X, Y = [0.0, 1.0, 2.0, 3.0, 4.0, 5.0], [1.0, 0.0, 2.0, 1.0, 3.0, 1.0]


@pytest.mark.parametrize(
    "make, error, text",
    [
        (lambda: rf.CubicSpline([0, 1, 2, 3, 4, 5, 3.0, 3.0], range(8)), ValueError, r"x\[6\] = 3.0 does not exceed x\[5\] = 5.0"),
        (lambda: rf.CubicSpline([1, 1], [0, 0]), ValueError, r"x\[1\] = 1.0 does not exceed x\[0\] = 1.0"),
        (lambda: rf.CubicSpline([0, np.nan, 2], [0, 0, 0]), ValueError, r"x\[1\] = nan is not finite"),
        (lambda: rf.CubicSpline(X, [[0, np.inf]] * 6), ValueError, r"y\[0, 1\] = inf is not finite"),
        (lambda: rf.CubicSpline([0], [0]), ValueError, "2 breakpoints"),
        (lambda: rf.CubicSpline([], []), ValueError, "2 breakpoints"),
        (lambda: rf.CubicSpline([X], [Y]), ValueError, "x has 2 dimensions"),
        (lambda: rf.CubicSpline(X, 3.0), ValueError, "single number"),
        (lambda: rf.CubicSpline(X, Y[1:]), ValueError, "y has 5 values along axis 0, and x has 6"),
        (lambda: rf.CubicSpline(X, Y, axis=1), ValueError, "axis 1 is out of bounds"),
        (lambda: rf.CubicSpline(X, np.array(Y) * 1j), TypeError, "y is complex"),
        (lambda: rf.CubicSpline(X, list("abcdef")), TypeError, "y holds"),
        (lambda: rf.CubicSpline(X, [None] * 6), (TypeError, ValueError), "y"),
        (lambda: rf.CubicSpline(X, [object()] * 6), TypeError, "y holds something"),
        (lambda: rf.CubicSpline(X, np.ma.masked_equal(Y, 2.0)), ValueError, "masked"),
        (lambda: rf.CubicSpline(X, Y, bc_type="loose"), ValueError, "'loose' is not allowed"),
        (lambda: rf.CubicSpline(X, Y, bc_type=("natural", "periodic")), ValueError, "both ends"),
        (lambda: rf.CubicSpline(X, Y, bc_type=("natural",)), ValueError, "two elements"),
        (lambda: rf.CubicSpline(X, Y, bc_type=((3, 0.0), "natural")), ValueError, "1 or 2"),
        (lambda: rf.CubicSpline(X, Y, bc_type=((1,), "natural")), ValueError, r"\(order, value\)"),
        (lambda: rf.CubicSpline(X, Y, bc_type=((1, [0.0]), "natural")), ValueError, r"shape \(1,\)"),
        (lambda: rf.CubicSpline(X, Y, bc_type=((1, np.nan), "natural")), ValueError, "not finite"),
        (lambda: rf.CubicSpline(X, np.arange(6.0), bc_type="periodic"), ValueError, "first and last"),
        (lambda: rf.CubicSpline(X, Y, extrapolate="mirror"), ValueError, "extrapolate"),
        (lambda: rf.CubicHermiteSpline(X, Y, Y[1:]), ValueError, "dydx has shape"),
        (lambda: rf.Akima1DInterpolator(X, Y, method="best"), ValueError, "method"),
        (lambda: rf.SubbotinSpline([0, 1], [0, 1]), ValueError, "breakpoints"),
        (lambda: rf.SmoothingSpline(X, Y, w=[1, 1, 0, 1, 1, 1], lam=1.0), ValueError, "weight"),
        (lambda: rf.SmoothingSpline(X, Y, lam=-1.0), ValueError, "lam"),
        (lambda: rf.SmoothingSpline(X[:4], Y[:4]), ValueError, "breakpoints"),
        (lambda: rf.QuadraticSpline(X, Y, midpoint=[1.0]), ValueError, "midpoint"),
        (lambda: rf.PPoly([[1.0]], [0.0, 1.0, 2.0]), ValueError, "c is for 1 pieces, and x has 2"),
        (lambda: rf.PPoly([1.0], [0.0, 1.0]), ValueError, "2 dimensions"),
        (lambda: rf.CubicSpline(X, Y)(1.0, nu=-1), ValueError, "negative"),
        (lambda: rf.CubicSpline(X, Y)([1.0], nu=1.5), TypeError, "nu is 1.5"),
        (lambda: rf.CubicSpline(X, Y)([1j]), TypeError, "x is complex"),
        (lambda: rf.CubicSpline(X, Y)("a"), TypeError, "x holds"),
        (lambda: rf.CubicSpline(X, Y).solve(np.nan), ValueError, ""),
        (lambda: rf.CubicSpline(X, Y).inverse([0.0]), ValueError, ""),
        (lambda: rf.CubicSpline(X, Y).c.__setitem__((0, 0), 1.0), ValueError, "read-only"),
    ],
)
def test_bad_input(make, error, text, capfd):
    with pytest.raises(error, match=text):
        make()
    assert capfd.readouterr() == ("", "")


def test_the_arrays_of_the_caller_stay_his():
    x, y = np.array(X), np.array(Y)
    s = rf.CubicSpline(x, y)
    before = s(2.5)
    x[:] = 0
    y[:] = 0
    assert s(2.5) == before
    c = s.c
    del s
    gc.collect()
    assert c[-1, 0] == 1.0


def test_coefficients_of_many_points():
    """They are in memory of another sort than small ones, which must be given back."""
    x = np.cumsum(np.random.default_rng(1).uniform(0.5, 1.5, 70_000))
    resident = pathlib.Path("/proc/self/statm")
    sizes = []
    for _ in range(60):
        s = rf.CubicSpline(x, np.sin(x))
        slope = s.derivative(1).antiderivative(1)
        sizes.append(int(resident.read_text().split()[1]) * 4096 if resident.exists() else 0)
    assert sizes[-1] - sizes[10] < 20 * s.c.nbytes
    theirs = si.CubicSpline(x, np.sin(x))
    np.testing.assert_allclose(s.c, theirs.c, rtol=0, atol=1e-12)
    np.testing.assert_allclose(slope.c[:-1], s.c[:-1], rtol=1e-15)


@pytest.mark.parametrize("kind", rf.splines.__all__)
def test_manners(kind):
    make = getattr(rf, kind)
    arguments = {"PPoly": ([Y[:5]] * 3, X), "CubicHermiteSpline": (X, Y, Y)}.get(kind, (X, Y))
    s = make(*arguments, extrapolate=False)
    for other in (copy.copy(s), copy.deepcopy(s), pickle.loads(pickle.dumps(s))):
        assert type(other) is make and repr(other) == repr(s)
        np.testing.assert_array_equal(other([0.5, 2.5, 9.0], nu=1), s([0.5, 2.5, 9.0], nu=1))
    del s
    gc.collect()
    assert other.derivative().derivative()(1.5) == pytest.approx(other(1.5, 2))
    assert pickle.loads(pickle.dumps(other.antiderivative()))(2.0) == pytest.approx(other.integrate(0, 2))
    assert kind in repr(other) and "domain [0.0, 5.0]" in repr(other)


def test_threads_share_a_spline():
    x = np.linspace(0, 1, 2000)
    s = rf.CubicSpline(x, np.sin(9 * x))
    sites = np.random.default_rng(3).uniform(-0.5, 1.5, 100_000)
    want = {e: s(sites, extrapolate=e) for e in (True, "periodic")}
    fresh, wrong = copy.copy(s), []

    def work(extrapolate):
        for _ in range(10):
            if not np.array_equal(fresh(sites, extrapolate=extrapolate), want[extrapolate]):
                wrong.append(extrapolate)

    threads = [threading.Thread(target=work, args=(e,)) for e in (True, "periodic") * 2]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert wrong == []
