"""Splines. Arguments, attributes and results are called and shaped as in `scipy.interpolate`."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Literal, Union, overload

import numpy as np

from . import _core
from ._arrays import NONE, contiguous, finite, numbers, result

try:
    from numpy.lib.array_utils import normalize_axis_index  # type: ignore[import]
except ImportError:  # before NumPy 2
    from numpy.core.multiarray import normalize_axis_index  # type: ignore[attr-defined]

if TYPE_CHECKING:
    from collections.abc import Sequence

    import numpy.typing as npt

    Points = npt.ArrayLike
    Array = npt.NDArray[np.float64]
    Extrapolate = Union[bool, Literal["periodic", "clamp", "raise"], None]
    End = Union[str, tuple[int, npt.ArrayLike]]
    Ends = Union[str, tuple[End, End]]

__all__ = [
    "Akima1DInterpolator",
    "BesselSpline",
    "CubicHermiteSpline",
    "CubicSpline",
    "LinearSpline",
    "PPoly",
    "PchipInterpolator",
    "QuadraticSpline",
    "SmoothingSpline",
    "SteffenInterpolator",
    "SubbotinSpline",
]

_OUTSIDE = {
    True: _core.CONTINUE,
    False: _core.NAN,
    "periodic": _core.WRAP,
    "clamp": _core.CLAMP,
    "raise": _core.REFUSE,
}


def _outside(extrapolate):
    """An argument `extrapolate` as one of the keys of _OUTSIDE."""
    if isinstance(extrapolate, str):
        if extrapolate not in _OUTSIDE:
            raise ValueError(
                f"extrapolate={extrapolate!r}: it is True, False, 'periodic', 'clamp' or 'raise'"
            )
        return extrapolate
    return bool(extrapolate)


class PPoly:
    """Polynomial pieces over a partition.

    Every spline of this package is one; so are derivatives and antiderivatives.

    Parameters
    ----------
    c : array_like, shape (k, m, ...)
        Coefficients of the m pieces, highest power first, in powers of the distance to the left end of a piece.
    x : array_like, shape (m + 1,)
        Where pieces begin and end, strictly ascending.
    extrapolate : bool or {'periodic', 'clamp', 'raise'}, optional
        What is outside: the end pieces continued (True, the default), NaN (False), the pieces repeated, the end
        values, or a ValueError.
    axis : int, optional
        Where the axis of x stands among those of results.

    Examples
    --------
    >>> from ravenfit import PPoly
    >>> p = PPoly([[1.0, -1.0], [0.0, 2.0]], [0.0, 1.0, 2.0])
    >>> p(1.5), p.integrate(0, 2)
    (1.5, 2.0)
    """

    def __init__(
        self, c: npt.ArrayLike, x: npt.ArrayLike, extrapolate: Extrapolate = None, axis: int = 0
    ) -> None:
        x = contiguous("x", x)
        c = numbers("c", c)
        if x.ndim != 1:
            raise ValueError(f"x has {x.ndim} dimensions; it must have 1")
        _core.check_breakpoints(x)
        if c.ndim < 2:
            raise ValueError("c must have at least 2 dimensions: powers and pieces")
        if c.shape[0] == 0:
            raise ValueError("c must have one coefficient for every piece at least")
        if c.shape[1] != len(x) - 1:
            raise ValueError(f"c is for {c.shape[1]} pieces, and x has {len(x) - 1}")
        axis = normalize_axis_index(axis, c.ndim - 1)
        rows = c.shape[0]
        trailing = c.shape[2:]
        functions = int(np.prod(trailing))
        coeff = np.zeros((functions, len(x) - 1, max(rows, 2)))
        coeff[:, :, :rows] = c.reshape(rows, len(x) - 1, functions)[::-1].transpose(2, 1, 0)
        self._set(x.copy(), coeff, rows, trailing, axis, True if extrapolate is None else extrapolate)

    @classmethod
    def from_spline(cls, tck: Any, extrapolate: Extrapolate = None) -> PPoly:
        """The pieces of a B-spline of SciPy's, which must be there: (t, c, k) or a BSpline. Knots count once.

        Examples
        --------
        >>> from scipy.interpolate import splrep
        >>> from ravenfit import PPoly
        >>> round(PPoly.from_spline(splrep([0, 1, 2, 3, 4], [0, 1, 8, 27, 64]))(2.5), 12)
        15.625
        """
        from scipy.interpolate import PPoly as Theirs

        pieces = Theirs.from_spline(tck)
        if extrapolate is None:
            extrapolate = pieces.extrapolate
        some = np.diff(pieces.x) > 0
        return PPoly(pieces.c[:, some], np.append(pieces.x[:-1][some], pieces.x[-1]), extrapolate)

    def _set(self, x, coeff, rows, trailing, axis, extrapolate):
        """The fields; of the arrays, which are not copied. coeff: (functions, pieces, order), lowest power first."""
        x.flags.writeable = False
        coeff.flags.writeable = False
        self._x = x
        self._coeff = coeff
        self._rows = rows
        self._trailing = tuple(trailing)
        self._axis = axis
        self._extrapolate = _outside(extrapolate)
        self._attach()

    def _attach(self):
        self._mode = _OUTSIDE[self._extrapolate]
        coeff = self._coeff
        if coeff.shape[2] > 4:
            # Above cubics the library takes the last derivative, which is constant, as 0: make it the last but one.
            coeff = np.concatenate([coeff, np.zeros(coeff.shape[:2] + (1,))], axis=2)
        self._pieces = None if len(coeff) == 0 else _core.Pieces(self._x, coeff, self._mode)
        self._value = None if self._pieces is None or self._trailing != () else self._pieces.value

    def __getstate__(self):
        state = self.__dict__.copy()
        del state["_pieces"], state["_value"]
        return state

    def __setstate__(self, state):
        self.__dict__.update(state)
        self._attach()

    @property
    def x(self) -> Array:
        """Where pieces begin and end; read-only."""
        return self._x

    @property
    def c(self) -> Array:
        """Coefficients, highest power first, of shape (k, pieces, ...); read-only."""
        cells = self._coeff.transpose(2, 1, 0)[self._rows - 1 :: -1]
        return cells.reshape(cells.shape[:2] + self._trailing)

    @property
    def axis(self) -> int:
        """Where the axis of x stands among those of results."""
        return self._axis

    @property
    def extrapolate(self) -> Extrapolate:
        """What the pieces are outside."""
        return self._extrapolate

    @property
    def domain(self) -> tuple[float, float]:
        """The first and the last breakpoint."""
        return float(self._x[0]), float(self._x[-1])

    @overload
    def __call__(
        self, x: float, nu: int = 0, extrapolate: Extrapolate = None, out: npt.NDArray[Any] | None = None
    ) -> Any: ...  # a float for one function, else an array

    @overload
    def __call__(
        self, x: npt.ArrayLike, nu: int = 0, extrapolate: Extrapolate = None, out: npt.NDArray[Any] | None = None
    ) -> npt.NDArray[Any]: ...

    @overload
    def __call__(
        self,
        x: npt.ArrayLike,
        nu: tuple[int, ...] | list[int],
        extrapolate: Extrapolate = None,
        out: tuple[npt.NDArray[Any], ...] | None = None,
    ) -> tuple[Any, ...]: ...

    def __call__(self, x: Any, nu: Any = 0, extrapolate: Extrapolate = None, out: Any = None) -> Any:
        """Values or derivatives at sites.

        Parameters
        ----------
        x : float or array_like
            Sites, in any order. Sorted ones are found faster.
        nu : int or tuple of int, optional
            Which derivative; for a tuple, a tuple of results from one pass.
        extrapolate : optional
            What is outside, for this call.
        out : ndarray, optional
            Receives the result; for a tuple of nu, a tuple of arrays.

        Returns
        -------
        float, ndarray or tuple
            A float for a float and one function; else an array of the shape of y, with that of the sites in the
            place of `axis`.

        Examples
        --------
        >>> from ravenfit import CubicSpline
        >>> s = CubicSpline([0, 1, 2, 3], [0, 1, 8, 27])
        >>> [round(v, 12) for v in s(1.5, nu=(0, 1))]
        [3.375, 6.75]
        """
        if type(x) is float and nu == 0 and extrapolate is None and out is None and self._value is not None:
            return self._value(x)
        many = isinstance(nu, (tuple, list))
        orders = [self._order(k) for k in (nu if many else (nu,))]
        outs = tuple(out) if many and out is not None else (out,) * len(orders)
        if len(outs) != len(orders):
            raise ValueError(f"out has {len(outs)} arrays for {len(orders)} derivatives")
        as_float = isinstance(x, (float, int)) and self._trailing == () and out is None
        sites = contiguous("x", x)
        found = self._evaluate(sites, orders, self._mode_of(extrapolate), outs)
        if as_float:
            found = [float(r) for r in found]
        return tuple(found) if many else found[0]

    def _order(self, k):
        if isinstance(k, (bool, np.bool_)) or not isinstance(k, (int, np.integer)):
            raise TypeError(f"nu is {k!r}; it must be an integer or a tuple of them")
        if k < 0:
            raise ValueError("nu must not be negative")
        # Derivatives beyond the degree are all the same.
        return min(int(k), self._coeff.shape[2])

    def _mode_of(self, extrapolate):
        return self._mode if extrapolate is None else _OUTSIDE[_outside(extrapolate)]

    def _evaluate(self, sites, orders, mode, outs):
        n, functions = sites.size, self._coeff.shape[0]
        wanted = sorted(set(orders))
        # One function and many derivatives by rows, so that each result stands together.
        by_site = functions != 1 or n > 1 << 30
        shape = sites.shape + self._trailing
        direct = None
        if len(orders) == 1 and outs[0] is not None and self._axis == 0:
            array, _ = result(shape, outs[0])
            plain = array.dtype == np.float64 and array.dtype.isnative and array.flags.carray
            if plain and not np.may_share_memory(array, sites):
                direct = array
        table = np.empty((n, len(wanted), functions) if by_site else (len(wanted), n)) if direct is None else direct
        if n and functions and wanted:
            self._pieces.evaluate(sites, wanted, mode, by_site, table)
        if direct is not None:
            return [direct]
        found = []
        for place, (k, out) in enumerate(zip(orders, outs)):
            i = wanted.index(k)
            values = self._placed((table[:, i] if by_site else table[i]).reshape(shape), sites.ndim)
            if out is not None:
                array, _ = result(values.shape, out)
                array[...] = values
                values = array
            elif k in orders[:place]:
                values = values.copy()
            found.append(values)
        return found

    def _placed(self, values, ndim):
        """Axes of the sites, which stand first, to the place of `axis`."""
        if self._axis == 0:
            return values
        order = list(range(values.ndim))
        at = ndim + self._axis
        return values.transpose(order[ndim:at] + order[:ndim] + order[at:])

    def _related(self, coeff, rows, extrapolate):
        made = PPoly.__new__(PPoly)
        made._set(self._x, coeff, rows, self._trailing, self._axis, extrapolate)
        return made

    def derivative(self, nu: int = 1) -> PPoly:
        """The derivative nu, as an object of its own; the antiderivative for a negative nu.

        Where a derivative jumps, at a breakpoint, it has the value from the right.
        """
        if nu < 0:
            return self.antiderivative(-nu)
        made = self
        for _ in range(nu):
            made = made._one_derivative()
        return made if made is not self else self._related(self._coeff, self._rows, self._extrapolate)

    def _one_derivative(self):
        if self._coeff.shape[0] == 0:
            coeff = self._coeff[:, :, :-1] if self._coeff.shape[2] > 2 else self._coeff
            return self._related(coeff.copy(), max(self._rows - 1, 1), self._extrapolate)
        if self._coeff.shape[2] > 2:
            coeff = np.ascontiguousarray(self._pieces.related(-1)[:, :, : self._coeff.shape[2] - 1])
        else:
            # Constant pieces are kept as lines.
            coeff = np.zeros_like(self._coeff)
            if self._rows == 2:
                coeff[:, :, 0] = self._coeff[:, :, 1]
        return self._related(coeff, max(self._rows - 1, 1), self._extrapolate)

    def antiderivative(self, nu: int = 1) -> PPoly:
        """The nu-fold antiderivative, 0 at the first breakpoint, as an object of its own.

        Of one that is repeated periodically, the antiderivative is NaN outside, since it grows from period to period.
        """
        if nu <= 0:
            return self.derivative(-nu)
        made = self
        for _ in range(nu):
            extrapolate = False if made._extrapolate == "periodic" else made._extrapolate
            if extrapolate == "clamp":
                extrapolate = True
            if made._coeff.shape[0] == 0:
                coeff = np.zeros(made._coeff.shape[:2] + (made._coeff.shape[2] + 1,))
            else:
                coeff = made._pieces.related(1)
            rows = made._rows + 1
            made = made._related(np.ascontiguousarray(coeff[:, :, : max(rows, 2)]), rows, extrapolate)
        return made

    @overload
    def integrate(self, a: float, b: float, extrapolate: Extrapolate = None) -> Any: ...

    @overload
    def integrate(self, a: npt.ArrayLike, b: npt.ArrayLike, extrapolate: Extrapolate = None) -> Array: ...

    def integrate(self, a: Any, b: Any, extrapolate: Extrapolate = None) -> Any:
        """The integral from a to b, which may lie anywhere and in any order; arrays of limits give one for each pair.

        Examples
        --------
        >>> from ravenfit import LinearSpline
        >>> LinearSpline([0, 1, 2], [0, 1, 0]).integrate(0, 2)
        1.0
        """
        low, high = np.broadcast_arrays(numbers("a", a), numbers("b", b))
        shape = low.shape + self._trailing
        if self._coeff.shape[0] == 0 or low.size == 0:
            return np.empty(shape)
        mode = self._mode_of(extrapolate)
        found = self._pieces.integrate(contiguous("a", low), contiguous("b", high), mode)
        if shape == () and not isinstance(a, np.ndarray) and not isinstance(b, np.ndarray):
            return float(found[0, 0])
        if low.ndim == 0:
            return found.reshape(shape)
        return self._placed(found.reshape(shape), low.ndim)

    def solve(
        self, y: float = 0.0, discontinuity: bool = True, extrapolate: Extrapolate = None
    ) -> npt.NDArray[Any]:
        """All sites, ascending, with the value y.

        Parameters
        ----------
        y : float
            The value.
        discontinuity : bool, optional
            Whether a breakpoint at which the pieces jump across the value is one of them.
        extrapolate : bool, optional
            Whether to look outside, where the end pieces are continued. Otherwise, and for periodic splines, sites
            are those of the domain.

        Returns
        -------
        ndarray
            Sites; for several functions an array of objects, one array of sites for each. A stretch that equals y is
            one site, its first.

        Examples
        --------
        >>> from ravenfit import LinearSpline
        >>> LinearSpline([0, 1, 2], [0, 1, 0]).solve(0.5)
        array([0.5, 1.5])
        """
        mode = self._mode_of(extrapolate)
        everywhere = mode == _core.CONTINUE
        low, high = (-np.inf, np.inf) if everywhere else self.domain
        y = float(y)
        found = []
        for f in range(self._coeff.shape[0]):
            sites = self._pieces.solve(f, y, low, high, mode)
            found.append(sites if discontinuity else self._without_jumps(f, y, sites))
        if self._trailing == ():
            return found[0]
        table = np.empty(len(found), dtype=object)
        for f, sites in enumerate(found):
            table[f] = sites
        return table.reshape(self._trailing)

    def _without_jumps(self, function, y, sites):
        cells = np.searchsorted(self._x, sites)
        inner = (cells > 0) & (cells < len(self._x) - 1)
        inner[inner] = self._x[cells[inner]] == sites[inner]
        at = cells[inner]
        left = np.zeros(len(at))
        for coefficient in self._coeff[function, at - 1].T[::-1]:
            left = left * (self._x[at] - self._x[at - 1]) + coefficient
        right = self._coeff[function, at, 0]
        keep = np.ones(len(sites), dtype=bool)
        noise = 1e-12 * np.maximum(np.abs(left), np.abs(right))
        keep[inner] = ((left - y) * (right - y) >= 0) | (np.abs(left - right) <= noise)
        return sites[keep]

    def roots(self, discontinuity: bool = True, extrapolate: Extrapolate = None) -> npt.NDArray[Any]:
        """All sites with the value 0, as `solve` gives them."""
        return self.solve(0.0, discontinuity, extrapolate)

    def inverse(self, y: npt.ArrayLike) -> Any:
        """For a monotone spline, the smallest site with each value; NaN for values that it does not reach."""
        if self._trailing != ():
            raise ValueError("only a spline of one function has an inverse")
        values = contiguous("y", y)
        found = self._pieces.inverse(0, values.ravel()).reshape(values.shape)
        return float(found) if isinstance(y, (float, int)) else found

    def plot(
        self, nu: int | Sequence[int] = 0, ax: Any = None, n: int = 1000, more: float = 0.05, points: bool = True
    ) -> Any:
        """Draws the curve by matplotlib, with the ends of the domain marked.

        Parameters
        ----------
        nu : int or sequence of int, optional
            Which derivative; for several, one panel each.
        ax : matplotlib.axes.Axes or sequence of them, optional
            Where to draw; new ones if left out.
        n : int, optional
            Sites of a curve, beside the breakpoints.
        more : float, optional
            How far beyond the domain, as a share of it, where the spline goes on there.
        points : bool, optional
            Whether to mark where pieces begin and end.

        Returns
        -------
        matplotlib.axes.Axes, or an array of them for several derivatives
        """
        from .plots import draw

        return draw(self, nu, ax, n, more, points)

    def _facts(self):
        return f"{len(self._x) - 1} pieces of {self._rows} coefficients"

    def __repr__(self):
        low, high = self.domain
        shape = f", y of shape {self._trailing}" if self._trailing else ""
        return f"{type(self).__name__}({self._facts()}, domain [{low!r}, {high!r}]{shape})"


def _prepare(x, y, axis, **more):
    """Points as the library takes them: x, y with the axis of x first, axis, and further arrays shaped like y."""
    x = contiguous("x", x)
    if x.ndim != 1:
        raise ValueError(f"x has {x.ndim} dimensions; it must have 1")
    y = numbers("y", y)
    if y.ndim == 0:
        raise ValueError("y is a single number; it must have a value for every element of x")
    axis = normalize_axis_index(axis, y.ndim)
    if y.shape[axis] != len(x):
        raise ValueError(f"y has {y.shape[axis]} values along axis {axis}, and x has {len(x)}")
    others = []
    for name, array in more.items():
        array = numbers(name, array)
        if array.shape != y.shape:
            raise ValueError(f"{name} has shape {array.shape}, and y has {y.shape}")
        others.append(np.ascontiguousarray(np.moveaxis(finite(name, array), axis, 0)))
    _core.check_breakpoints(x)
    y = np.ascontiguousarray(np.moveaxis(finite("y", y), axis, 0))
    return x, y, axis, others


def _ends(bc_type, shape, words):
    """Both ends as (word, values) of the library; `words` are those that the kind has beside derivatives."""
    if isinstance(bc_type, str):
        bc_type = (bc_type, bc_type)
    if len(bc_type) != 2:
        raise ValueError("bc_type must have two elements, for the start and for the end")
    periodic = [isinstance(bc, str) and bc == "periodic" for bc in bc_type]
    if any(periodic) and not all(periodic):
        raise ValueError("'periodic' is for both ends")
    ends = []
    for bc in bc_type:
        if isinstance(bc, str):
            if bc == "clamped":
                ends.append(("slope", np.zeros(shape).ravel()))
            elif bc == "natural":
                ends.append(("curvature", np.zeros(shape).ravel()))
            elif bc in words:
                ends.append((bc, NONE))
            else:
                raise ValueError(f"bc_type={bc!r} is not allowed")
            continue
        try:
            order, values = bc
        except (TypeError, ValueError) as why:
            raise ValueError("a derivative at an end must be given as (order, value)") from why
        if order not in (1, 2):
            raise ValueError(f"the order of a derivative at an end must be 1 or 2, not {order!r}")
        values = numbers("bc_type", values)
        if values.shape != shape:
            raise ValueError(f"bc_type has values of shape {values.shape}; they must have {shape}")
        ends.append(("slope" if order == 1 else "curvature", np.ascontiguousarray(finite("bc_type", values)).ravel()))
    return ends


def _told(bc_type):
    """The ends for a repr, without arrays."""
    if isinstance(bc_type, str):
        return repr(bc_type)
    first, last = (bc if isinstance(bc, str) else f"derivative {bc[0]}" for bc in bc_type)
    return repr(first) if first == last else f"{first!r} and {last!r}"


class _Interpolator(PPoly):
    """A spline through points."""

    def _build(self, kind, x, y, axis, extrapolate, ends=(("own", NONE), ("own", NONE)), inner=NONE, lam=0.0):
        """The coefficients of a kind of the library."""
        functions = y.size // len(x)
        if functions == 0:
            rows = {"linear": 2, "quadratic": 3, "subbotin": 3}.get(kind, 4)
            coeff, lambdas = np.empty((0, len(x) - 1, rows)), NONE
        else:
            (left, left_values), (right, right_values) = ends
            coeff, lambdas = _core.construct(
                kind, x, y.reshape(len(x), functions), left, left_values, right, right_values, inner, lam
            )
        self._points = len(x)
        self._finish(x, coeff, y.shape[1:], axis, extrapolate)
        return lambdas

    def _finish(self, x, coeff, trailing, axis, extrapolate):
        self._set(x.copy(), coeff, coeff.shape[2], trailing, axis, extrapolate)

    def _build_hermite(self, x, y, slopes, axis, extrapolate):
        """Cubic from slopes at all points."""
        self._build("hermite", x, y, axis, extrapolate, inner=np.ascontiguousarray(slopes.reshape(len(x), -1).T).ravel())

    def _facts(self):
        return f"{self._points} points" + getattr(self, "_told", "")


class CubicSpline(_Interpolator):
    """Cubic spline with a continuous second derivative.

    Parameters
    ----------
    x : array_like, shape (n,)
        Breakpoints, strictly ascending.
    y : array_like
        Values; along `axis` as many as x has.
    axis : int, optional
        The axis of y along which x runs.
    bc_type : str or 2-tuple, optional
        'not-a-knot' (the default), 'periodic', 'clamped' (slope 0), 'natural' (second derivative 0), or for each end
        one of these but 'periodic' or a tuple (order, value) with order 1 or 2 and a value of the shape of y without
        `axis`.
    extrapolate : bool or {'periodic', 'clamp', 'raise'}, optional
        As for `PPoly`; 'periodic' unless said otherwise for periodic ends, else True.

    Examples
    --------
    >>> from ravenfit import CubicSpline
    >>> s = CubicSpline([0, 1, 2, 3], [0, 1, 8, 27])
    >>> round(s(2.5), 12), round(s.derivative()(2.5), 12)
    (15.625, 18.75)
    """

    def __init__(
        self, x: Points, y: Points, axis: int = 0, bc_type: Ends = "not-a-knot", extrapolate: Extrapolate = None
    ) -> None:
        x, y, axis, _ = _prepare(x, y, axis)
        shape = y.shape[1:]
        ends = _ends(bc_type, shape, ("not-a-knot", "periodic"))
        self._told = f", ends {_told(bc_type)}"
        periodic = ends[0][0] == "periodic"
        if extrapolate is None:
            extrapolate = "periodic" if periodic else True
        if periodic:
            if not np.allclose(y[0], y[-1], rtol=1e-15, atol=1e-15):
                raise ValueError("first and last value must be the same for bc_type='periodic'")
            y = y.copy()
            y[-1] = y[0]
        knots = [end[0] == "not-a-knot" for end in ends]
        if y.size == 0:
            self._build("cubic", x, y, axis, extrapolate)
        elif len(x) == 2:
            self._build_hermite(x, y, _slopes_of_two(x, y, ends), axis, extrapolate)
        elif len(x) == 3 and all(knots):
            self._build_hermite(x, y, _slopes_of_parabola(x, y), axis, extrapolate)
        else:
            self._build("cubic", x, y, axis, extrapolate, ends)


def _chords(x, y):
    steps = np.diff(x).reshape((-1,) + (1,) * (y.ndim - 1))
    return steps, np.diff(y, axis=0) / steps


def _slopes_of_two(x, y, ends):
    """Slopes of the cubic through two points. Not-a-knot and periodic ends have the slope of the chord."""
    (h,), (d,) = _chords(x, y)
    shape = d.shape
    known = []
    for word, values in ends:
        given = values.reshape(shape) if len(values) else d
        known.append((word == "curvature", given))
    (left_bent, left), (right_bent, right) = known
    if left_bent and right_bent:
        return np.stack([d - h * (2 * left + right) / 6, d + h * (left + 2 * right) / 6])
    if left_bent:
        return np.stack([(3 * d - h * left / 2 - right) / 2, right])
    if right_bent:
        return np.stack([left, (3 * d + h * right / 2 - left) / 2])
    return np.stack([left, right])


def _slopes_of_parabola(x, y):
    """Slopes of the parabola through three points."""
    (g, h), (d, e) = _chords(x, y)
    bend = (e - d) / (g + h)
    return np.stack([d - g * bend, d + g * bend, e + h * bend])


def _line(x, y):
    _, chords = _chords(x, y)
    return np.concatenate([chords, chords[-1:]])


class LinearSpline(_Interpolator):
    """The broken line through points.

    Parameters are those of `CubicSpline`, without ends.

    Examples
    --------
    >>> from ravenfit import LinearSpline
    >>> LinearSpline([0, 1, 3], [0, 2, 0])(2)
    1.0
    """

    def __init__(
        self, x: npt.ArrayLike, y: npt.ArrayLike, axis: int = 0, extrapolate: Extrapolate = None
    ) -> None:
        x, y, axis, _ = _prepare(x, y, axis)
        self._build("linear", x, y, axis, True if extrapolate is None else extrapolate)


class CubicHermiteSpline(_Interpolator):
    """Cubic spline from values and slopes.

    Parameters
    ----------
    x, y, axis, extrapolate
        As for `CubicSpline`.
    dydx : array_like
        Slopes, of the shape of y.

    Examples
    --------
    >>> from ravenfit import CubicHermiteSpline
    >>> CubicHermiteSpline([0, 1], [0, 1], [0, 3])(0.5)
    0.125
    """

    def __init__(
        self,
        x: npt.ArrayLike,
        y: npt.ArrayLike,
        dydx: npt.ArrayLike,
        axis: int = 0,
        extrapolate: Extrapolate = None,
    ) -> None:
        x, y, axis, (slopes,) = _prepare(x, y, axis, dydx=dydx)
        self._build_hermite(x, y, slopes, axis, True if extrapolate is None else extrapolate)


class _Monotone(_Interpolator):
    """A kind of the library with limited slopes; two points have their chord."""

    _kind = ""

    def __init__(
        self, x: npt.ArrayLike, y: npt.ArrayLike, axis: int = 0, extrapolate: Extrapolate = None
    ) -> None:
        x, y, axis, _ = _prepare(x, y, axis)
        extrapolate = True if extrapolate is None else extrapolate
        if len(x) == 2:
            self._build_hermite(x, y, _line(x, y), axis, extrapolate)
        else:
            self._build(self._kind, x, y, axis, extrapolate)


class PchipInterpolator(_Monotone):
    """Cubic spline that is monotone where the data are, with slopes by harmonic means.

    Parameters are those of `CubicSpline`, without ends.

    Examples
    --------
    >>> from ravenfit import PchipInterpolator
    >>> s = PchipInterpolator([0, 1, 2, 3], [0, 0, 1, 1])
    >>> s(0.5), s(1.5), s(2.5)
    (0.0, 0.5, 1.0)
    """

    _kind = "pchip"


class SteffenInterpolator(_Monotone):
    """Cubic spline that is monotone where the data are, with slopes of limited parabolas.

    Parameters are those of `CubicSpline`, without ends. At the ends it has the slope of the chord.

    Examples
    --------
    >>> from ravenfit import SteffenInterpolator
    >>> SteffenInterpolator([0, 1, 2, 3], [0, 0, 1, 1])(1.5)
    0.5
    """

    _kind = "steffen"


class BesselSpline(_Interpolator):
    """Cubic spline with the slopes of parabolas through three neighbours.

    Parameters are those of `CubicSpline`. A 'not-a-knot' end makes the first cubic, continued, pass through the third
    point; three points then give their parabola.

    Examples
    --------
    >>> from ravenfit import BesselSpline
    >>> round(BesselSpline([0, 1, 2, 3], [0, 1, 4, 9])(1.5), 12)
    2.25
    """

    def __init__(
        self, x: Points, y: Points, axis: int = 0, bc_type: Ends = "not-a-knot", extrapolate: Extrapolate = None
    ) -> None:
        x, y, axis, _ = _prepare(x, y, axis)
        ends = _ends(bc_type, y.shape[1:], ("not-a-knot", "periodic"))
        self._told = f", ends {_told(bc_type)}"
        periodic = ends[0][0] == "periodic"
        if extrapolate is None:
            extrapolate = "periodic" if periodic else True
        knots = all(end[0] == "not-a-knot" for end in ends)
        if len(x) == 2:
            self._build_hermite(x, y, _slopes_of_two(x, y, ends), axis, extrapolate)
        elif len(x) == 3 and knots:
            self._build_hermite(x, y, _slopes_of_parabola(x, y), axis, extrapolate)
        else:
            self._build("bessel", x, y, axis, extrapolate, ends)


class Akima1DInterpolator(_Interpolator):
    """Akima's cubic spline, which bends little beside outliers.

    Parameters
    ----------
    x, y, axis
        As for `CubicSpline`.
    method : {'akima', 'makima'}, optional
        Akima's weights, or modified ones, which keep flat stretches flat.
    extrapolate : optional
        As for `PPoly`, but False unless said otherwise.

    Examples
    --------
    >>> from ravenfit import Akima1DInterpolator
    >>> s = Akima1DInterpolator([0, 1, 2, 3, 4, 5], [0, 0, 0, 1, 1, 1], method="makima")
    >>> s(2.5), s(6.0)
    (0.5, nan)
    """

    def __init__(
        self,
        x: npt.ArrayLike,
        y: npt.ArrayLike,
        axis: int = 0,
        *,
        method: Literal["akima", "makima"] = "akima",
        extrapolate: Extrapolate = None,
    ) -> None:
        if method not in ("akima", "makima"):
            raise ValueError(f"method={method!r}: it is 'akima' or 'makima'")
        x, y, axis, _ = _prepare(x, y, axis)
        self._told = f", method {method!r}"
        extrapolate = False if extrapolate is None else extrapolate
        if y.size == 0:
            self._build(method, x, y, axis, extrapolate)
        elif len(x) == 2:
            self._build_hermite(x, y, _line(x, y), axis, extrapolate)
        elif len(x) < 5:
            self._build_hermite(x, y, _akima_slopes(x, y, method), axis, extrapolate)
        else:
            self._build_scaled(method, x, y, axis, extrapolate)

    def _build_scaled(self, method, x, y, axis, extrapolate, power=None):
        if power is None:
            power = _core.akima_power(*_core.akima_sums(method, x, y))
        if power == 0:
            self._build(method, x, y, axis, extrapolate)
            return
        self._build(method, x, np.ldexp(y, power), axis, extrapolate)
        coeff = np.ldexp(self._coeff, -power)
        self._finish(self._x, coeff, self._trailing, self._axis, self._extrapolate)


def _akima_weights(x, y, method):
    """Chords with two more beyond both ends, the weights at the points, and their sums."""
    _, d = _chords(x, y)
    before = 2 * d[0] - d[1]
    after = 2 * d[-1] - d[-2]
    m = np.concatenate([[2 * before - d[0], before], d, [after, 2 * after - d[-1]]])
    w = np.abs(np.diff(m, axis=0))
    if method == "makima":
        w = w + 0.5 * np.abs(m[:-1] + m[1:])
    return m, w, w[2:] + w[:-2]


def _akima_slopes(x, y, method):
    m, w, total = _akima_weights(x, y, method)
    mean = 0.5 * (m[1:-2] + m[2:-1])
    counts = total > 1e-9 * np.max(total)
    divisor = np.where(counts, total, 1.0)
    return np.where(counts, (w[2:] * m[1:-2] + w[:-2] * m[2:-1]) / divisor, mean)


class QuadraticSpline(_Interpolator):
    """Parabolas with a continuous slope, from the value at the middle of the first cell.

    Parameters
    ----------
    x, y, axis, extrapolate
        As for `CubicSpline`.
    midpoint : array_like, optional
        The value at the middle of the first cell, of the shape of y without `axis`. An error in it does not fade from
        cell to cell. Left out, it is that of the parabola through the first three points.

    Examples
    --------
    >>> from ravenfit import QuadraticSpline
    >>> QuadraticSpline([0, 1, 2], [0, 1, 4])(1.5)
    2.25
    """

    def __init__(
        self,
        x: npt.ArrayLike,
        y: npt.ArrayLike,
        axis: int = 0,
        midpoint: npt.ArrayLike | None = None,
        extrapolate: Extrapolate = None,
    ) -> None:
        x, y, axis, _ = _prepare(x, y, axis)
        shape = y.shape[1:]
        if midpoint is None:
            middle = 0.5 * (y[0] + y[1])
            if len(x) > 2:
                (g, h), (d, e) = _chords(x[:3], y[:3])
                middle = middle - 0.25 * g * g * (e - d) / (g + h)
        else:
            middle = finite("midpoint", numbers("midpoint", midpoint))
            if middle.shape != shape:
                raise ValueError(f"midpoint has shape {middle.shape}; it must have {shape}")
        inner = np.ascontiguousarray(middle, dtype=np.float64).ravel()
        self._build("quadratic", x, y, axis, True if extrapolate is None else extrapolate, inner=inner)


class SubbotinSpline(_Interpolator):
    """Parabolas with a continuous slope that join in the middles of cells.

    Parameters
    ----------
    x, y, axis, extrapolate
        As for `CubicSpline`; 3 points at least.
    bc_type : str or 2-tuple, optional
        'natural' (the default) or 'clamped', or for each end one of these or (order, value).

    Notes
    -----
    The attribute `x` tells where the pieces join: the first point, the middles, the last point.

    Examples
    --------
    >>> from ravenfit import SubbotinSpline
    >>> SubbotinSpline([0, 1, 2], [0, 1, 4], bc_type=((2, 2.0), (2, 2.0)))(1.5)
    2.25
    """

    def __init__(
        self, x: Points, y: Points, axis: int = 0, bc_type: Ends = "natural", extrapolate: Extrapolate = None
    ) -> None:
        x, y, axis, _ = _prepare(x, y, axis)
        ends = _ends(bc_type, y.shape[1:], ())
        self._told = f", ends {_told(bc_type)}"
        self._build("subbotin", x, y, axis, True if extrapolate is None else extrapolate, ends)

    def _finish(self, x, coeff, trailing, axis, extrapolate):
        """Pieces are expanded about the points, and here about where they begin."""
        middles = x[:-1] + 0.5 * np.diff(x)
        joints = np.concatenate([x[:1], middles, x[-1:]])
        if coeff.shape[0]:
            t = joints[:-1] - x
            a, b, c = coeff.transpose(2, 0, 1)
            coeff = np.stack([a + t * (b + t * c), b + 2 * t * c, c], axis=2)
        else:
            coeff = np.empty((0, len(x), 3))
        super()._finish(joints, coeff, trailing, axis, extrapolate)


class SmoothingSpline(_Interpolator):
    """Cubic smoothing spline, for values with noise.

    It minimises sum w (y - s(x))^2 + lam * (integral of s''^2), and goes to the weighted least-squares line as lam grows.

    Parameters
    ----------
    x, y, axis, extrapolate
        As for `CubicSpline`.
    w : array_like, shape (n,), optional
        Positive weights, such as 1 / variance; 1 if left out.
    lam : float, optional
        The weight of roughness, 0 or more; 0 interpolates. Left out, generalised cross-validation finds one for each
        function, which takes 5 points at least.

    Attributes
    ----------
    lam : float or ndarray
        The weight of roughness that was used.

    Examples
    --------
    >>> import numpy as np
    >>> from ravenfit import SmoothingSpline
    >>> x = np.linspace(0, 1, 20)
    >>> round(SmoothingSpline(x, 2 * x + 1)(0.5), 6)
    2.0
    """

    def __init__(
        self,
        x: npt.ArrayLike,
        y: npt.ArrayLike,
        axis: int = 0,
        w: npt.ArrayLike | None = None,
        lam: float | None = None,
        extrapolate: Extrapolate = None,
    ) -> None:
        x, y, axis, _ = _prepare(x, y, axis)
        if w is None:
            weights = NONE
        else:
            weights = contiguous("w", w)
            if weights.shape != x.shape:
                raise ValueError(f"w has shape {weights.shape}; it must have {x.shape}")
        if lam is not None and not 0 <= float(lam) < np.inf:
            raise ValueError(f"lam = {float(lam)!r} is not a finite number of 0 or more")
        used = self._build(
            "smoothing",
            x,
            y,
            axis,
            True if extrapolate is None else extrapolate,
            inner=weights,
            lam=-1.0 if lam is None else float(lam),
        )
        self.lam = float(used[0]) if self._trailing == () else used.reshape(self._trailing)
        self._told = f", lam {self.lam!r}" if self._trailing == () else ""
