"""Tables of pandas at other times. Series and DataFrames come and go by their own methods; pandas is not imported here.

>>> import pandas
>>> from ravenfit.pandas import resample
>>> days = pandas.to_datetime(["2024-01-01", "2024-01-02", "2024-01-04"])
>>> resample(pandas.Series([0.0, 1.0, 3.0], days, name="height"), "D", kind="LinearSpline")
2024-01-01    0.0
2024-01-02    1.0
2024-01-03    2.0
2024-01-04    3.0
Freq: D, Name: height, dtype: float64
"""

from __future__ import annotations

from typing import Any

import numpy as np

from . import splines

__all__ = ["resample"]


def resample(data: Any, rule: Any, kind: str | type[splines.PPoly] = "Akima1DInterpolator", **options: Any) -> Any:
    """Values of splines through a Series, or through each column of a DataFrame, at other places of the index.

    Parameters
    ----------
    data : pandas.Series or pandas.DataFrame
        Numbers over an index of times, durations or numbers, in any order, each once. A NaN is a missing value: the
        spline of its column leaves it out.
    rule : str, float, or an index
        A step as pandas writes it ('15min', 'D'), for times and durations; a number as the step, for numbers; or the new
        index itself. By a step the index goes on from the first place, for times from the one that
        `data.resample(rule)` begins with.
    kind : str or class, optional
        One of the package's classes of splines, or its name.
    **options
        For the class, such as method, bc_type or lam.

    Returns
    -------
    pandas.Series or pandas.DataFrame
        As the data; NaN outside the places of a column's first and last value.
    """
    cls = getattr(splines, kind, None) if isinstance(kind, str) and kind in splines.__all__ else kind
    if not isinstance(cls, type) or not issubclass(cls, splines._Interpolator):
        raise ValueError(f"kind={kind!r}: it is one of the package's classes of splines, or its name")
    if not all(hasattr(data, name) for name in ("index", "sort_index", "to_numpy")):
        raise TypeError(f"a Series or a DataFrame is needed, not {type(data).__name__}")
    if len(data) == 0:
        raise ValueError("the table is empty")
    data = data.sort_index()
    if data.index.hasnans:
        raise ValueError("the index has missing places")
    if data.index.has_duplicates:
        raise ValueError(f"the index has {data.index[data.index.duplicated()][0]} more than once")
    index = _index(data, rule)
    origin = data.index[0]
    x, sites = _places(data.index, origin), _places(index, origin)
    values = data.to_numpy(dtype=np.float64, na_value=np.nan)
    columns = values.reshape(len(x), -1)
    found = np.empty((len(sites), columns.shape[1]))
    known = np.isfinite(columns)
    if known.all():
        groups = [np.arange(columns.shape[1])]  # at once
    else:
        groups = [np.array([k]) for k in range(columns.shape[1])]
    for group in groups:
        if len(group):
            rows = known[:, group[0]]
            found[:, group] = cls(x[rows], columns[np.ix_(rows, group)], extrapolate=False, **options)(sites)
    made = data.iloc[:0].reindex(index).astype(np.float64)
    made[:] = found.reshape((len(sites),) + values.shape[1:])
    return made


def _index(data, rule):
    """The new index."""
    old = data.index
    if hasattr(rule, "to_numpy"):
        return rule
    if isinstance(rule, str):
        if old.dtype.kind not in "mM" and not hasattr(old, "tz"):
            raise TypeError("a step in words is for an index of times or durations")
        return data.iloc[[0, -1]].resample(rule).asfreq().index
    step = float(rule)
    if not 0 < step < np.inf:
        raise ValueError(f"a step of {step!r} leads nowhere")
    if old.dtype.kind not in "iuf":
        raise TypeError("a number as the step is for an index of numbers")
    count = int(np.floor((old[-1] - old[0]) / step * (1 + 1e-12))) + 1
    return type(old.astype(np.float64))(old[0] + step * np.arange(count), name=old.name)


def _places(index, origin):
    """Distances from the first place, as numbers or in nanoseconds, which are exact for 104 days and rounded beyond."""
    away = (index - origin).to_numpy()
    return away.astype("m8[ns]").astype(np.float64) if away.dtype.kind == "m" else away.astype(np.float64)
