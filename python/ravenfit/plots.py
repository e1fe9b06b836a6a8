"""Pictures of splines, by matplotlib, which is imported when the first one is drawn."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from collections.abc import Sequence

    import numpy.typing as npt

    from .splines import PPoly

__all__ = ["compare"]

_PRIMES = ("values", "first derivative", "second derivative", "third derivative")


def _axes(count, ax):
    if ax is not None:
        axes = np.atleast_1d(np.asarray(ax, dtype=object))
        if axes.shape != (count,):
            raise ValueError(f"ax has {axes.size} axes; {count} are needed, one for each derivative")
        return axes
    from matplotlib import pyplot

    return pyplot.subplots(count, sharex=True, squeeze=False)[1][:, 0]


def _sites(x, n, more):
    """Equidistant ones and the breakpoints, so that every corner is drawn; beyond both ends by a share of the domain."""
    if n < 2:
        raise ValueError("a curve is drawn through 2 sites at least")
    low, high = x[0], x[-1]
    reach = more * (high - low)
    return np.union1d(np.linspace(low - reach, high + reach, n), x)


def draw(
    spline: PPoly, nu: int | Sequence[int] = 0, ax: Any = None, n: int = 1000, more: float = 0.05, points: bool = True
) -> Any:
    """What `PPoly.plot` does."""
    orders = (nu,) if isinstance(nu, (int, np.integer)) else tuple(nu)
    if not orders:
        raise ValueError("nu names no derivative")
    sites = _sites(spline.x, n, more if spline.extrapolate in (True, "periodic", "clamp") else 0.0)
    curves = spline(sites, nu=orders)
    axes = _axes(len(orders), ax)
    functions = int(np.prod(spline._trailing))
    for panel, k, curve in zip(axes, orders, curves):
        at_points = np.moveaxis(spline(spline.x, nu=k), spline.axis, 0).reshape(len(spline.x), functions)
        rows = np.moveaxis(curve, spline.axis, 0).reshape(len(sites), functions)
        for f in range(functions):
            (line,) = panel.plot(sites, rows[:, f], label=f"function {f}" if functions > 1 else type(spline).__name__)
            if points:
                panel.plot(spline.x, at_points[:, f], "o", markersize=4, color=line.get_color())
        for end in spline.domain:
            panel.axvline(end, color="gray", linestyle=":", linewidth=1)
        panel.set_ylabel(_PRIMES[k] if k < len(_PRIMES) else f"derivative {k}")
    axes[0].legend()
    return axes[0] if isinstance(nu, (int, np.integer)) else axes


def compare(
    x: npt.ArrayLike,
    y: npt.ArrayLike,
    kinds: Sequence[str | type[PPoly]] = ("CubicSpline", "Akima1DInterpolator", "PchipInterpolator"),
    nu: int = 0,
    ax: Any = None,
    n: int = 1000,
) -> Any:
    """Draws splines of several kinds through the same points, or a derivative of theirs.

    Parameters
    ----------
    x, y : array_like, shape (n,)
        Points.
    kinds : sequence of str or class
        The package's classes of splines, or their names.
    nu : int, optional
        Which derivative; the points are drawn for 0.
    ax : matplotlib.axes.Axes, optional
        Where to draw; new ones if left out.
    n : int, optional
        Sites for each curve.

    Returns
    -------
    matplotlib.axes.Axes

    Examples
    --------
    >>> import ravenfit
    >>> ax = ravenfit.compare([0, 1, 2, 3], [0, 0, 1, 1], kinds=("CubicSpline", "PchipInterpolator"))  # doctest: +SKIP
    """
    from . import splines

    made = []
    for kind in kinds:
        cls = getattr(splines, kind, None) if isinstance(kind, str) and kind in splines.__all__ else kind
        if not isinstance(cls, type) or not issubclass(cls, splines._Interpolator):
            raise ValueError(f"{kind!r} is none of the package's classes of splines")
        made.append((cls.__name__, cls(x, y)))
    if any(spline._trailing for _, spline in made):
        raise ValueError("y must have one dimension")
    (panel,) = _axes(1, ax)
    for name, spline in made:
        sites = _sites(spline.x, n, 0.0)
        panel.plot(sites, spline(sites, nu=nu), label=name)
    if nu == 0:
        panel.plot(np.asarray(x), np.asarray(y), "ko", markersize=4, label="points")
    panel.legend()
    return panel
