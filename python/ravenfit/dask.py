"""Splines and random streams on Dask's arrays, over as many processes and machines as Dask has. Needs `dask.array`.

Results do not depend on who computes them. Values, fits of one long series and random arrays have the bits of one piece,
however they are cut into chunks; fits of many series may differ from those at once by rounding.

>>> import dask.array as da
>>> import numpy as np
>>> import ravenfit
>>> from ravenfit.dask import evaluate
>>> x = np.linspace(0, 1, 11)
>>> s = ravenfit.CubicSpline(x, x**3)
>>> round(float(evaluate(s, da.linspace(0, 1, 10**6, chunks=10**5)).mean().compute()), 5)
0.25
"""

from __future__ import annotations

import copy
from typing import TYPE_CHECKING, Any, Literal, Union

import dask
import dask.array as da
import numpy as np
from dask.array.overlap import overlap

from . import _core, splines
from .splines import PPoly, _akima_weights

if TYPE_CHECKING:
    import numpy.typing as npt

    from .random import _Skipping

    Chunks = Union[int, Literal["auto"], tuple[int, ...]]
    Size = Union[int, tuple[int, ...]]

__all__ = ["Fits", "LongSpline", "evaluate", "exponential", "fit", "fit_long", "normal", "uniform"]


# ---- values ----


def evaluate(spline: PPoly, x: Any, nu: int | tuple[int, ...] = 0, extrapolate: Any = None) -> Any:
    """Values or derivatives of a spline at the sites of a Dask array, chunk by chunk.

    Parameters
    ----------
    spline : PPoly
        Any spline of this package; each worker receives it once.
    x : dask.array.Array
        Sites.
    nu : int or tuple of int, optional
        Which derivative; for a tuple, a tuple of arrays from one pass.
    extrapolate : optional
        As for `PPoly.__call__`.

    Returns
    -------
    dask.array.Array or tuple of them
        Shaped as the spline's own results.
    """
    many = isinstance(nu, (tuple, list))
    orders = tuple(nu) if isinstance(nu, (tuple, list)) else (nu,)
    trailing, axis = spline._trailing, spline.axis
    sites = tuple(range(x.ndim))
    others = tuple(range(x.ndim, x.ndim + len(trailing)))
    which = x.ndim + len(trailing)
    sizes = {which: len(orders), **dict(zip(others, trailing))}
    found = da.blockwise(
        _values,
        (which, *others[:axis], *sites, *others[axis:]),
        x,
        sites,
        new_axes=sizes,
        dtype=np.float64,
        meta=np.empty((0,) * (1 + x.ndim + len(trailing))),
        spline=dask.delayed(spline, traverse=False),
        orders=orders,
        extrapolate=extrapolate,
    )
    return tuple(found[i] for i in range(len(orders))) if many else found[0]


def _values(x, spline, orders, extrapolate):
    return np.stack(spline(np.asarray(x), nu=orders, extrapolate=extrapolate))


# ---- many series ----


class Fits:
    """Splines through many series over the same breakpoints, as `fit` makes them.

    Attributes
    ----------
    x : ndarray
        Where pieces begin and end.
    c : dask.array.Array, shape (k, pieces, ...)
        Coefficients as those of `PPoly`, cut as the series are.
    axis : int
        Where the axis of x stands among those of results.
    """

    def __init__(self, x: npt.NDArray[np.float64], c: Any, axis: int, extrapolate: Any) -> None:
        self.x, self.c, self.axis, self.extrapolate = x, c, axis, extrapolate

    def __call__(self, sites: npt.ArrayLike, nu: int = 0, extrapolate: Any = None) -> Any:
        """Values or derivatives of all series at the same sites, which are no Dask array."""
        sites = np.asarray(sites, np.float64)
        trailing = tuple(range(2, self.c.ndim))
        news = tuple(range(self.c.ndim, self.c.ndim + sites.ndim))
        return da.blockwise(
            _values_of_pieces,
            (*trailing[: self.axis], *news, *trailing[self.axis :]),
            self.c,
            (0, 1, *trailing),
            new_axes=dict(zip(news, sites.shape)),
            concatenate=True,
            dtype=np.float64,
            meta=np.empty((0,) * (len(trailing) + len(news))),
            x=dask.delayed(self.x, traverse=False),
            sites=dask.delayed(sites, traverse=False),
            nu=nu,
            axis=self.axis,
            extrapolate=self.extrapolate if extrapolate is None else extrapolate,
        )


def _values_of_pieces(c, x, sites, nu, axis, extrapolate):
    return PPoly(c, x, extrapolate, axis)(sites, nu=nu)


def fit(kind: str | type[PPoly], x: npt.ArrayLike, y: Any, axis: int = 0, **options: Any) -> Fits:
    """Splines of a kind through many series.

    Parameters
    ----------
    kind : str or class
        One of the package's classes of splines, or its name.
    x : array_like
        Breakpoints.
    y : dask.array.Array
        Values; along `axis` as many as x has, in one chunk, or they are put into one.
    axis : int, optional
        The axis of y along which x runs.
    **options
        For the class, such as bc_type.

    Examples
    --------
    >>> import dask.array as da
    >>> import numpy as np
    >>> from ravenfit.dask import fit
    >>> x = np.linspace(0, 1, 9)
    >>> y = da.from_array(np.outer(x**2, np.arange(100)), chunks=(9, 10))
    >>> np.round(fit("BesselSpline", x, y)(0.3)[99].compute(), 12)
    8.91
    """
    cls = _class(kind)
    axis = splines.normalize_axis_index(axis, y.ndim)
    x = np.array(x, np.float64)
    y = y.rechunk({axis: -1})
    # What a series of zeros makes tells the shapes, and whether the arguments are right.
    one = cls(x, np.zeros(y.shape[axis]), **{k: v for k, v in options.items() if k not in ("w",)})
    rest = tuple(i for i in range(y.ndim) if i != axis)
    rows, pieces = y.ndim, y.ndim + 1
    c = da.blockwise(
        _coefficients,
        (rows, pieces, *rest),
        y,
        tuple(range(y.ndim)),
        new_axes={rows: one.c.shape[0], pieces: one.c.shape[1]},
        concatenate=True,
        dtype=np.float64,
        meta=np.empty((0,) * (y.ndim + 1)),
        cls=cls,
        x=dask.delayed(x, traverse=False),
        along=axis,
        options=options,
    )
    return Fits(one.x, c, axis, one.extrapolate)


def _class(kind):
    cls = getattr(splines, kind, None) if isinstance(kind, str) and kind in splines.__all__ else kind
    if not isinstance(cls, type) or not issubclass(cls, splines._Interpolator):
        raise ValueError(f"kind={kind!r}: it is one of the package's classes of splines, or its name")
    if cls is splines.CubicHermiteSpline:
        raise ValueError("CubicHermiteSpline needs slopes, which are no Dask array here")
    return cls


def _coefficients(y, cls, x, along, options):
    return np.ascontiguousarray(cls(x, np.asarray(y), axis=along, **options).c)


# ---- one long series ----

# Points beyond a chunk on which its pieces depend. Kinds with a global system are not here.
_REACH = 3
_LOCAL = {
    "LinearSpline": ("linear", 2),
    "PchipInterpolator": ("pchip", 4),
    "SteffenInterpolator": ("steffen", 4),
    "BesselSpline": ("bessel", 4),
    "Akima1DInterpolator": ("akima", 4),
}


class LongSpline:
    """A spline through a series that is as long as its Dask arrays are, as `fit_long` makes it.

    Attributes
    ----------
    x : dask.array.Array
        Breakpoints.
    c : dask.array.Array, shape (k, pieces)
        Coefficients as those of `PPoly`, the bits of a fit in one piece.
    """

    def __init__(self, x: Any, c: Any) -> None:
        self.x, self.c = x, c
        ends = np.cumsum((0, *c.chunks[1]))
        self._edges = dask.delayed([x[int(i)] for i in ends])

    def __call__(self, sites: Any, nu: int = 0) -> Any:
        """Values or derivatives at the sites of a Dask array of one dimension, the end pieces continued.

        Where the chunks of sites begin and end is computed at once, and so are the ends of the chunks of x; a chunk of
        sites then asks for the pieces between its least and its largest site. Give ascending sites.
        """
        if sites.ndim != 1:
            raise ValueError(f"sites have {sites.ndim} dimensions; they must have 1")
        blocks = sites.to_delayed()
        spans = [dask.delayed(_span)(block) for block in blocks]
        edges, spans = dask.compute(self._edges, spans)
        edges = np.asarray(edges)
        last = len(self.c.chunks[1]) - 1
        starts = np.cumsum((0, *self.c.chunks[1]))
        parts = []
        for block, size, (low, high) in zip(blocks, sites.chunks[0], spans):
            first = min(max(int(np.searchsorted(edges, low, "right")) - 1, 0), last)
            end = min(max(int(np.searchsorted(edges, high, "right")) - 1, first), last)
            # A Dask array would cut the breakpoint on the far edge into a chunk of its own.
            x = self.x[int(starts[first]) : int(starts[end + 1]) + 1].rechunk(-1).to_delayed().item()
            c = self.c[:, int(starts[first]) : int(starts[end + 1])].rechunk(-1).to_delayed().item()
            made = dask.delayed(_values_of_pieces)(c, x, block, nu, 0, True)
            parts.append(da.from_delayed(made, (size,), np.float64))
        return da.concatenate(parts) if parts else sites


def _span(sites):
    known = sites[~np.isnan(sites)]
    return (known.min(), known.max()) if known.size else (np.inf, np.inf)


def fit_long(kind: str | type[PPoly], x: Any, y: Any, method: Literal["akima", "makima"] = "akima") -> LongSpline:
    """A spline of a local kind through one long series, chunk by chunk with a few neighbours.

    Parameters
    ----------
    kind : str or class
        'LinearSpline', 'PchipInterpolator', 'SteffenInterpolator', 'BesselSpline' or 'Akima1DInterpolator'; the others
        depend on all points at once.
    x, y : dask.array.Array, shape (n,)
        Breakpoints, which ascend, and values. They are cut alike, into chunks of 6 points or more.
    method : {'akima', 'makima'}, optional
        For 'Akima1DInterpolator'. Its weights count beside the largest one of all, which takes a pass of its own.
    """
    name = _class(kind).__name__
    if name not in _LOCAL:
        raise ValueError(f"{name} depends on all points at once; local are {', '.join(_LOCAL)}")
    if x.ndim != 1 or x.shape != y.shape:
        raise ValueError(f"x has shape {x.shape} and y {y.shape}; they must have one dimension and be of one length")
    y = y.rechunk(x.chunks)
    if min(x.chunks[0]) < 2 * _REACH:
        if len(x) < 4 * _REACH:
            x, y = x.rechunk(-1), y.rechunk(-1)
        else:
            n = len(x)
            parts = max(1, min(len(x.chunks[0]), n // (2 * _REACH)))
            cuts = np.linspace(0, n, parts + 1).astype(int)
            chunks = (tuple(int(k) for k in np.diff(cuts)),)
            x, y = x.rechunk(chunks), y.rechunk(chunks)
    own = x.chunks[0]
    pieces = (*own[:-1], own[-1] - 1)
    if len(own) > 1:
        xs, ys = (overlap(a.astype(np.float64), {0: _REACH}, {0: "none"}) for a in (x, y))
    else:
        xs, ys = x, y
    _, rows = _LOCAL[name]
    power = None
    if name == "Akima1DInterpolator" and len(x) >= 5:
        sums = [
            dask.delayed(_sums)(method, at, of, i > 0, i + 1 < len(own))
            for i, (at, of) in enumerate(zip(xs.to_delayed(), ys.to_delayed()))
        ]
        power = dask.delayed(_power)(sums)
    c = da.map_blocks(
        _pieces_of_block,
        xs,
        ys,
        new_axis=0,
        chunks=((rows,), pieces),
        dtype=np.float64,
        meta=np.empty((0, 0)),
        name_of_kind=name,
        method=method,
        power=power,
        blocks=len(own),
        own=own,
    )
    return LongSpline(x, c)


def _sums(method, x, y, before, after):
    """What `akima_sums` tells, of the chunk's own points."""
    total = _akima_weights(x, y, method)[2]
    total = total[_REACH if before else 0 : len(total) - (_REACH if after else 0)]
    limit = 1e-10
    return (
        np.max(total),
        np.min(total[total >= 0.5 * limit], initial=np.inf),
        np.max(total[total <= 2.0 * limit], initial=0.0),
    )


def _power(sums):
    largest, above, below = zip(*sums)
    return _core.akima_power(max(largest), min(above), max(below))


def _pieces_of_block(x, y, name_of_kind, method, power, blocks, own, block_id):
    (i,) = block_id[-1:]
    cls = getattr(splines, name_of_kind)
    x, y = np.ascontiguousarray(x, np.float64), np.ascontiguousarray(y, np.float64)
    if power is None:
        made = cls(x, y)
    else:
        x, y, _, _ = splines._prepare(x, y, 0)
        made = cls.__new__(cls)
        made._build_scaled(method, x, y, 0, True, power)
    skip = _REACH if i > 0 else 0
    count = own[i] - (i + 1 == blocks)
    return np.ascontiguousarray(made.c[:, skip : skip + count])


# ---- random arrays ----


def uniform(
    bits: _Skipping, size: Size, chunks: Chunks = "auto", low: float = 0.0, high: float = 1.0
) -> Any:
    """The values that `bits.uniform(low, high, size)` gives, as a Dask array; see `normal`."""
    return _random("uniform", bits, size, chunks, (low, high))


def normal(bits: _Skipping, size: Size, chunks: Chunks = "auto", loc: float = 0.0, scale: float = 1.0) -> Any:
    """The values that `bits.normal(loc, scale, size)` gives, as a Dask array.

    Parameters
    ----------
    bits : bit generator of `ravenfit.random` that can `advance`
        It moves on at once, behind all the values.
    size : int or tuple of int
    chunks : int, tuple of int or 'auto', optional
        Along the first axis; others are not cut. A chunk begins by skipping ahead: MRG32k3a, WichmannHill and MCG59 do it
        in microseconds, the Mersenne Twisters in milliseconds.

    Examples
    --------
    >>> from ravenfit.dask import normal
    >>> from ravenfit.random import MRG32k3a
    >>> one = normal(MRG32k3a(1), (1000, 3), chunks=100)
    >>> bool((one.compute() == MRG32k3a(1).normal(size=(1000, 3))).all())
    True
    """
    return _random("normal", bits, size, chunks, (loc, scale))


def exponential(bits: _Skipping, size: Size, chunks: Chunks = "auto", scale: float = 1.0) -> Any:
    """The values that `bits.exponential(scale, size)` gives, as a Dask array; see `normal`."""
    return _random("exponential", bits, size, chunks, (scale,))


def _random(name, bits, size, chunks, parameters):
    from .random import _Skipping

    if not isinstance(bits, _Skipping):
        raise TypeError(f"a bit generator of ravenfit.random that can skip ahead is needed, not {bits!r}")
    size = (size,) if isinstance(size, (int, np.integer)) else tuple(size)
    if not size:
        raise ValueError("size must have one dimension at least")
    if isinstance(chunks, (int, np.integer)) or chunks == "auto":
        chunks = (chunks, *(-1,) * (len(size) - 1))
    chunks = da.core.normalize_chunks(chunks, size, dtype=np.float64)
    if any(len(c) > 1 for c in chunks[1:]):
        raise ValueError("only the first axis can be cut into chunks")
    row = int(np.prod(size[1:], dtype=np.int64))
    made = da.map_blocks(
        _stretch,
        chunks=chunks,
        dtype=np.float64,
        meta=np.empty((0,) * len(size)),
        name_of_fill=name,
        bits=dask.delayed(copy.deepcopy(bits), traverse=False),
        row=row,
        parameters=parameters,
    )
    with bits.lock:
        bits._move(bits._engine, size[0] * row)
    return made


def _stretch(name_of_fill, bits, row, parameters, block_info):
    places = block_info[None]["array-location"]
    bits = copy.deepcopy(bits)  # what Dask hands out is shared
    bits._move(bits._engine, places[0][0] * row)
    return getattr(bits, name_of_fill)(*parameters, size=tuple(end - begin for begin, end in places))
