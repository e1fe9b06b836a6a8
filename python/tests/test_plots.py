"""What is drawn, as data of the lines, beside the splines."""

import numpy as np
import pytest

import ravenfit as rf

matplotlib = pytest.importorskip("matplotlib")
matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

X, Y = np.array([0.0, 1, 2, 4, 5]), np.array([0.0, 2, 1, 1, 3])


@pytest.fixture(autouse=True)
def fresh():
    yield
    pyplot.close("all")


def curves(ax):
    """Lines but those of two points, which mark the domain."""
    return [line for line in ax.lines if len(line.get_xdata()) > 2]


@pytest.mark.parametrize("extrapolate, low", [(True, -0.5), (False, 0.0), ("clamp", -0.5), ("raise", 0.0)])
def test_curve_points_and_domain(extrapolate, low):
    s = rf.CubicSpline(X, Y, extrapolate=extrapolate)
    ax = s.plot(more=0.1)
    curve, points = curves(ax)
    assert curve.get_xdata()[0] == low and len(curve.get_xdata()) >= 1000 and set(X) <= set(curve.get_xdata())
    np.testing.assert_array_equal(curve.get_ydata(), s(curve.get_xdata()))
    np.testing.assert_array_equal(points.get_xdata(), X)
    np.testing.assert_allclose(points.get_ydata(), Y, atol=1e-12)
    marked = [line.get_xdata()[0] for line in ax.lines if len(line.get_xdata()) == 2]
    assert marked == [0.0, 5.0]
    ax.figure.canvas.draw()
    colored = np.asarray(ax.figure.canvas.buffer_rgba())[..., :3]
    assert (colored.max(axis=-1) - colored.min(axis=-1) > 60).sum() > 500  # ink of the curve


def test_derivatives_of_many_functions_on_given_axes():
    y = np.stack([Y, -Y, 2 * Y])
    s = rf.PchipInterpolator(X, y, axis=1)
    first, second = s.plot(nu=(1, 2), points=False)
    assert second.get_ylabel() == "second derivative"
    for k, ax in ((1, first), (2, second)):
        lines = curves(ax)
        assert len(lines) == 3
        for f, line in enumerate(lines):
            np.testing.assert_array_equal(line.get_ydata(), s(line.get_xdata(), nu=k)[f])
    _, given = pyplot.subplots()
    assert rf.LinearSpline(X, Y).plot(ax=given) is given and len(curves(given)) == 2


def test_compare():
    kinds = ("CubicSpline", rf.SubbotinSpline, "PchipInterpolator")
    ax = rf.compare(X, Y, kinds=kinds, n=300)
    *lines, points = curves(ax)
    assert [text.get_text() for text in ax.get_legend().get_texts()] == [
        "CubicSpline", "SubbotinSpline", "PchipInterpolator", "points"
    ]
    for kind, line in zip((rf.CubicSpline, rf.SubbotinSpline, rf.PchipInterpolator), lines):
        np.testing.assert_array_equal(line.get_ydata(), kind(X, Y)(line.get_xdata()))
    np.testing.assert_array_equal(points.get_ydata(), Y)
    slopes = rf.compare(X, Y, kinds=("LinearSpline",), nu=1)
    (line,) = curves(slopes)
    np.testing.assert_array_equal(line.get_ydata(), rf.LinearSpline(X, Y)(line.get_xdata(), nu=1))


@pytest.mark.parametrize(
    "call",
    [
        lambda s: s.plot(nu=()),
        lambda s: s.plot(n=1),
        lambda s: s.plot(nu=(0, 1), ax=pyplot.gca()),
        lambda s: rf.compare(X, Y, kinds=("PPoly",)),
        lambda s: rf.compare(X, np.stack([Y, Y], axis=1)),
        lambda s: rf.compare(X, Y[1:]),
    ],
)
def test_refusals(call):
    with pytest.raises(ValueError):
        call(rf.CubicSpline(X, Y))
